#include <cstdio>
#include <iostream>

#include "app/run_stopped.h"
#include "app/worker_app_delegate.h"
#include "linux/linux_roots.h"
#include "linux/linux_run.h"
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
        "Usage: tasselby-worker [--layout=macos|linux] [--home=DIR] [--system-root=DIR] BROWSER\n"
        "\n"
        "Removes the private data of one browser for every site without a saved\n"
        "web-form password, then posts one notification with the counts.\n"
        "\n"
        "BROWSER is one whole argument, exactly one of:\n"
        "  macOS layout: Safari, WebKit, Google Chrome, Chromium, Camino, Firefox, Opera\n"
        "  Linux layout: Google Chrome, Chromium, Brave, Microsoft Edge, Vivaldi, Opera,\n"
        "                Firefox\n"
        "The first argument that names a browser wins; other arguments are ignored.\n"
        "Without one the worker exits at once and cleans nothing.\n"
        "\n"
        "Layouts:\n"
        "  macos  (default) a macOS home: ~/Library/..., preferences in\n"
        "         ~/Library/Preferences\n"
        "  linux  today's browsers of a Linux desktop: every native, Snap and Flatpak\n"
        "         install in the home ($XDG_CONFIG_HOME and $XDG_CACHE_HOME are used\n"
        "         when set, unless --home is given); preferences in\n"
        "         ~/.config/tasselby (or $XDG_CONFIG_HOME/tasselby). Sites with a\n"
        "         password saved in the keyring or in the browser keep all their data.\n"
        "         A running install is skipped, named on stderr, and the exit status\n"
        "         is 75 (try again later).\n"
        "\n"
        "Exit status: 0 done; 64 bad option or a browser the layout does not have;\n"
        "70 run stopped; 75 something was skipped because a browser held it.\n"
        "\n"
        "Options:\n"
        "  --layout=NAME      macos (default) or linux\n"
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
    if (commandLine.layout == tasselby::Layout::Linux) {
        tasselby::LinuxRun run(platform, tasselby::LinuxRoots::of(commandLine, platform.homeDirectory()), std::cerr);
        tasselby::LinuxRunStatus status = run.run();
        std::fflush(nullptr);
        if (status == tasselby::LinuxRunStatus::UnknownBrowser) return kExitUsage;
        if (status == tasselby::LinuxRunStatus::TryAgainLater) return kExitRunDeferred;
        return 0;
    }
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
