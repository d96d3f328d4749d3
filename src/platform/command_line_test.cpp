#include "platform/command_line.h"

#include <gtest/gtest.h>

namespace tasselby {
namespace {

CommandLine parse(std::vector<const char*> arguments) {
    return CommandLine::parse(static_cast<int>(arguments.size()), arguments.data());
}

// Every argument, options included, stays for the browser check.
TEST(CommandLine, OptionsTakeTheNameValueFormOnly) {
    struct Case {
        std::vector<const char*> arguments;
        std::optional<std::string> home;
        std::optional<std::string> systemRoot;
    };
    const Case cases[] = {
        {{"worker", "--home=/mnt/home", "Safari"}, "/mnt/home", std::nullopt},
        {{"worker", "--system-root=/mnt/mac"}, std::nullopt, "/mnt/mac"},
        {{"worker", "--home=/a b", "--system-root=/c=d"}, "/a b", "/c=d"},
        {{"worker", "--home", "/mnt/home"}, std::nullopt, std::nullopt},
        {{"worker", "--homes=/x", "--Home=/x", "-home=/x", "--system-root"}, std::nullopt, std::nullopt},
        {{"--home=/x"}, std::nullopt, std::nullopt},  // argument 0 is the program path
    };
    for (const Case& each : cases) {
        CommandLine line = parse(each.arguments);
        std::string shown = each.arguments.back();
        EXPECT_EQ(line.arguments, std::vector<std::string>(each.arguments.begin(), each.arguments.end())) << shown;
        EXPECT_EQ(line.home, each.home) << shown;
        EXPECT_EQ(line.systemRoot, each.systemRoot) << shown;
        EXPECT_FALSE(line.error) << shown;
        EXPECT_FALSE(line.help || line.version) << shown;
    }
}

TEST(CommandLine, LayoutIsMacOSUnlessLinuxIsAsked) {
    EXPECT_EQ(parse({"worker", "Safari"}).layout, Layout::MacOS);
    EXPECT_EQ(parse({"worker", "--layout=linux", "Chromium"}).layout, Layout::Linux);
    EXPECT_EQ(parse({"worker", "--layout=linux", "--layout=macos"}).layout, Layout::MacOS);
    for (const char* bad : {"--layout=", "--layout=Linux", "--layout=windows"}) {
        CommandLine line = parse({"worker", bad, "Chromium"});
        EXPECT_TRUE(line.error) << bad;
    }
}

TEST(CommandLine, HelpVersionAndErrorsAreFoundAnywhereAfterTheProgram) {
    EXPECT_TRUE(parse({"worker", "--home=", "Safari"}).error);
    EXPECT_TRUE(parse({"worker", "--system-root="}).error);
    EXPECT_TRUE(parse({"worker", "Safari", "--help"}).help);
    EXPECT_TRUE(parse({"worker", "--version", "Firefox"}).version);
    for (const char* lookalike : {"-h", "--HELP", "--help=1", "-version", "help"}) {
        CommandLine line = parse({"worker", lookalike});
        EXPECT_FALSE(line.help || line.version) << lookalike;
    }
    EXPECT_FALSE(parse({"--help"}).help);
}

}  // namespace
}  // namespace tasselby
