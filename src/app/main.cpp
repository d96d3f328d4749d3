#include <cstdio>
#include <iostream>
#include <memory>

#include "app/run_reporter.h"
#include "app/run_stopped.h"
#include "app/worker_app_delegate.h"
#include "platform/command_line.h"
#include "platform/dry_run_platform.h"
#include "platform/linux_platform.h"

namespace {

constexpr int kExitUsage = 64;
constexpr int kExitRunStopped = 70;  // EX_SOFTWARE

void printUsage() {
    std::printf(
        "Usage: tasselby-worker [--home=DIR] [--system-root=DIR] [--dry-run] [--report=text|json] BROWSER\n"
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
        "  --home=DIR          clean the home folder DIR instead of $HOME\n"
        "  --system-root=DIR   find the system's absolute paths under DIR (default /)\n"
        "  --dry-run           choose and count as a run would, but remove, overwrite and\n"
        "                      write nothing and post no notification; print the report\n"
        "                      line and one line per store with what would go\n"
        "  --report=text|json  after the run (or dry run) print the report on standard\n"
        "                      output: as text, or as one JSON object\n"
        "  --help              show this text\n"
        "  --version           show the version\n"
        "\n"
        "A dry run counts exactly as the real run would. Later steps of a real run see\n"
        "the earlier removals (the Silverlight sweep removes the plug-in's whole folder\n"
        "once a store folder is empty, and walks on through what is left); a dry run\n"
        "hides what it would remove from those later steps so that they see the same.\n");
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
    if (commandLine.layout == tasselby::Layout::Linux) {
        std::fprintf(stderr, "tasselby-worker: the Linux layout is not part of this build\n");
        return kExitUsage;
    }

    tasselby::LinuxPlatform linuxPlatform(commandLine);
    // A dry run reaches the system only through the read-only decorator.
    std::unique_ptr<tasselby::DryRunPlatform> dryRun;
    if (commandLine.dryRun) dryRun = std::make_unique<tasselby::DryRunPlatform>(linuxPlatform);
    tasselby::Platform& platform = dryRun ? static_cast<tasselby::Platform&>(*dryRun) : linuxPlatform;

    using Report = tasselby::CommandLine::Report;
    Report report = commandLine.report != Report::None ? commandLine.report
                    : commandLine.dryRun              ? Report::Text
                                                      : Report::None;
    tasselby::RunReporter reporter("macos", commandLine.dryRun,
                                   report == Report::Json ? tasselby::RunReporter::Format::Json
                                                          : tasselby::RunReporter::Format::Text,
                                   std::cout);
    tasselby::WorkerAppDelegate delegate(platform);
    if (report != Report::None) delegate.setObserver(&reporter);
    try {
        delegate.awakeFromNib();
        delegate.applicationDidFinishLaunching();
    } catch (const tasselby::RunStopped& stopped) {
        std::fprintf(stderr, "tasselby-worker: run stopped: %s\n", stopped.what());
        return kExitRunStopped;
    }
    return 0;
}
