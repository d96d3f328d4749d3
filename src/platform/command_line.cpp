#include "platform/command_line.h"

#include <string_view>

namespace tasselby {

namespace {

constexpr std::string_view kHomeOption = "--home=";
constexpr std::string_view kRootOption = "--system-root=";
constexpr std::string_view kLayoutOption = "--layout=";
constexpr std::string_view kMacOSLayout = "macos";
constexpr std::string_view kLinuxLayout = "linux";

}  // namespace

CommandLine CommandLine::parse(int argc, const char* const argv[]) {
    CommandLine line;
    for (int i = 0; i < argc; ++i) {
        std::string argument = argv[i] != nullptr ? argv[i] : "";
        line.arguments.push_back(argument);
        if (i == 0) continue;
        std::string_view view = argument;
        if (view == "--help") {
            line.help = true;
        } else if (view == "--version") {
            line.version = true;
        } else if (view.starts_with(kLayoutOption)) {
            std::string_view value = view.substr(kLayoutOption.size());
            if (value == kMacOSLayout) {
                line.layout = Layout::MacOS;
            } else if (value == kLinuxLayout) {
                line.layout = Layout::Linux;
            } else {
                line.error = "--layout must be macos or linux, not \"" + std::string(value) + "\"";
            }
        } else if (view.starts_with(kHomeOption) || view.starts_with(kRootOption)) {
            bool isHome = view.starts_with(kHomeOption);
            std::string value(view.substr(isHome ? kHomeOption.size() : kRootOption.size()));
            if (value.empty()) {
                line.error = std::string(isHome ? "--home" : "--system-root") + " needs a folder";
            } else {
                (isHome ? line.home : line.systemRoot) = value;
            }
        }
    }
    return line;
}

}  // namespace tasselby
