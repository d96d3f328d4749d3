#include "app/run_reporter.h"

#include <gtest/gtest.h>

#include <sstream>

namespace tasselby {
namespace {

const RunCounts kCounts{12, 3, 4, 1, 0};
constexpr const char* kLine = "12 Cookies (3 Tracking Cookies), 4 Databases, 1 Flash, 0 Silverlight, and Cache removed from Chromium";

TEST(RunReporter, StoreLinesNameTheStoreThePathAndWhatGoes) {
    const std::pair<StoreReport, const char*> cases[] = {
        {{"Cookies", "Library/Cookies/Cookies.binarycookies", "removed", 12, "rows", 3, ""},
         "Cookies  Library/Cookies/Cookies.binarycookies  12 rows, 3 tracking"},
        {{"Cookies", "a/Cookies", "removed", 2, "rows", 0, ""}, "Cookies  a/Cookies  2 rows"},
        {{"Cache", "Library/Caches/Chromium/Default", "removed", 1, "folder", 0, ""},
         "Cache  Library/Caches/Chromium/Default  1 folder"},
        {{"Cookies", ".config/chromium/Default/Cookies", "skipped", 0, "rows", 0, "running browser"},
         "Cookies  .config/chromium/Default/Cookies  skipped: running browser"},
    };
    for (const auto& [store, expected] : cases) EXPECT_EQ(RunReporter::line(store), expected);
}

TEST(RunReporter, DryRunTextIsTheReportLineThenOneLinePerStoreWithWouldRemove) {
    std::ostringstream out;
    RunReporter reporter("macos", true, RunReporter::Format::Text, out);
    reporter.storeVisited({"Cookies", "a/Cookies", "removed", 12, "rows", 3, ""});
    reporter.storeVisited({"Cookies", "b/Cookies", "skipped", 0, "rows", 0, "locked"});
    reporter.runFinished("Chromium", kCounts, kLine);
    EXPECT_EQ(out.str(), std::string(kLine) + "\nCookies  a/Cookies  12 rows, 3 tracking\nCookies  b/Cookies  skipped: locked\n");
    EXPECT_EQ(reporter.stores()[0].action, "would remove");
    EXPECT_EQ(reporter.stores()[1].action, "skipped");
}

TEST(RunReporter, JsonIsOneObjectOnOneLine) {
    std::ostringstream out;
    RunReporter reporter("linux", false, RunReporter::Format::Json, out);
    reporter.storeVisited({"Cookies", "a/Cookies", "removed", 12, "rows", 3, ""});
    reporter.storeVisited({"Local Storage", "a/\xff", "skipped", 0, "keys", 0, "unknown format"});
    reporter.runFinished("Chromium", kCounts, kLine);
    std::string text = out.str();
    ASSERT_EQ(text.find('\n'), text.size() - 1);
    nlohmann::json report = nlohmann::json::parse(text);
    EXPECT_EQ(report["layout"], "linux");
    EXPECT_EQ(report["browser"], "Chromium");
    EXPECT_EQ(report["dryRun"], false);
    EXPECT_EQ(report["report"], kLine);
    const std::pair<const char*, long> counts[] = {
        {"cookies", 12}, {"trackingCookies", 3}, {"databases", 4}, {"flash", 1}, {"silverlight", 0}};
    for (const auto& [key, value] : counts) EXPECT_EQ(report[key], value) << key;
    ASSERT_EQ(report["stores"].size(), 2u);
    EXPECT_EQ(report["stores"][0],
              nlohmann::json({{"store", "Cookies"}, {"path", "a/Cookies"}, {"action", "removed"}, {"items", 12},
                              {"unit", "rows"}, {"tracking", 3}}));
    EXPECT_EQ(report["stores"][1]["reason"], "unknown format");
    EXPECT_FALSE(report["stores"][1].contains("tracking"));
    EXPECT_EQ(report["stores"][1]["path"], "a/\xef\xbf\xbd") << "bytes that are not UTF-8 are replaced";
}

}  // namespace
}  // namespace tasselby
