// Start-up cost: the worker without a browser (it exits at once, cleaning
// nothing) against /bin/true, run alternately in one loop so that both meet
// the same machine load:
//   startup_bench [RUNS]      (default 300 of each)
// Prints the CPU time (user plus system, from the kernel's account of each
// child) and wall time of each, and the worker's CPU above /bin/true.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "support/sample_home.h"

namespace {

struct Sample {
    double cpuMs = 0;
    double wallMs = 0;
};

double milliseconds(const timeval& time) { return time.tv_sec * 1e3 + time.tv_usec / 1e3; }

Sample runOnce(const char* program, const char* homeOption) {
    const auto start = std::chrono::steady_clock::now();
    pid_t child = fork();
    if (child == 0) {
        execl(program, program, homeOption, static_cast<char*>(nullptr));
        _exit(127);
    }
    rusage usage{};
    int status = 0;
    wait4(child, &status, 0, &usage);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        std::fprintf(stderr, "startup_bench: %s failed with status %d\n", program, status);
        std::exit(1);
    }
    return {milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime),
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count()};
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double mean(const std::vector<double>& values) {
    double sum = 0;
    for (double value : values) sum += value;
    return sum / static_cast<double>(values.size());
}

}  // namespace

int main(int argc, char* argv[]) {
    const int runs = argc > 1 ? std::atoi(argv[1]) : 300;
    // An empty home: no preferences to read, nothing to clean.
    tasselby::testing::TemporaryFolder home("tasselby-startup");
    const std::string homeOption = "--home=" + home.path();
    std::vector<double> workerCpu, trueCpu, workerWall, trueWall;
    for (int run = 0; run < runs; ++run) {
        Sample worker = runOnce(TASSELBY_WORKER, homeOption.c_str());
        Sample floor = runOnce("/bin/true", homeOption.c_str());
        workerCpu.push_back(worker.cpuMs);
        workerWall.push_back(worker.wallMs);
        trueCpu.push_back(floor.cpuMs);
        trueWall.push_back(floor.wallMs);
    }
    std::printf("%d runs each, alternating\n", runs);
    std::printf("tasselby-worker  CPU mean %.2f ms, wall median %.2f ms\n", mean(workerCpu), median(workerWall));
    std::printf("/bin/true        CPU mean %.2f ms, wall median %.2f ms\n", mean(trueCpu), median(trueWall));
    std::printf("worker above /bin/true: CPU %.2f ms (mean), wall %.2f ms (median)\n",
                mean(workerCpu) - mean(trueCpu), median(workerWall) - median(trueWall));
    return 0;
}
