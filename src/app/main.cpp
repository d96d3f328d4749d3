#include <cstdio>

#include "app/run_stopped.h"
#include "app/worker_app_delegate.h"
#include "platform/command_line.h"
#include "platform/linux_platform.h"

#ifndef TASSELBY_VERSION
#define TASSELBY_VERSION "0.0.0"
#endif

namespace {

constexpr int kExitUsage = 64;
constexpr int kExitRunStopped = 70;   // EX_SOFTWARE
constexpr int kExitRunDeferred = 75;  // EX_TEMPFAIL: try again later

void printUsage() {
    std::printf(
        "Usage: tasselby-worker [--home=DIR] [--system-root=DIR] BROWSER\n"
        "\n"
        "Removes the private data of one browser for every site without a saved\n"
        "web-form password, then posts one notification with the counts.\n"
        "\n"
        "BROWSER is one whole argument, exactly one of:\n"
        "  Safari, WebKit, Google Chrome, Chromium, Camino, Firefox, Opera\n"
        "The first argument that names a browser wins; other arguments are ignored.\n"
        "Without one the worker exits at once and cleans nothing.\n"
        "\n"
        "Options:\n"
        "  --home=DIR         clean the home folder DIR instead of $HOME\n"
        "  --system-root=DIR  find the system's absolute paths under DIR (default /)\n"
        "  --help             show this text\n"
        "  --version          show the version\n");
}

}  // namespace

int main(int argc, char* argv[]) {
    tasselby::CommandLine commandLine = tasselby::CommandLine::parse(argc, argv);
    if (commandLine.help) {
        printUsage();
        return 0;
    }
    if (commandLine.version) {
        std::printf("tasselby-worker %s\n", TASSELBY_VERSION);
        return 0;
    }
    if (commandLine.error) {
        std::fprintf(stderr, "tasselby-worker: %s\n", commandLine.error->c_str());
        return kExitUsage;
    }

    tasselby::LinuxPlatform platform(commandLine);
    tasselby::WorkerAppDelegate delegate(platform);
    try {
        delegate.awakeFromNib();
        delegate.applicationDidFinishLaunching();
    } catch (const tasselby::RunDeferred& deferred) {
        std::fprintf(stderr, "tasselby-worker: run stopped, try again later: %s\n", deferred.what());
        return kExitRunDeferred;
    } catch (const tasselby::RunStopped& stopped) {
        std::fprintf(stderr, "tasselby-worker: run stopped: %s\n", stopped.what());
        return kExitRunStopped;
    }
    return 0;
}
