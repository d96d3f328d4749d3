#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tasselby {

// Which homes the worker cleans: a macOS-era home (the default) or today's
// Linux desktop browsers.
enum class Layout { MacOS, Linux };

// The worker's own options. They take the "--name=value" form only; every
// other argument, an unknown option included, is left for the browser check.
struct CommandLine {
    std::vector<std::string> arguments;  // all of them, argument 0 included
    std::optional<std::string> home;
    std::optional<std::string> systemRoot;
    Layout layout = Layout::MacOS;
    bool help = false;
    bool version = false;
    std::optional<std::string> error;  // an option with an unusable value

    static CommandLine parse(int argc, const char* const argv[]);
};

}  // namespace tasselby
