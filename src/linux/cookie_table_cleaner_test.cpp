#include "linux/cookie_table_cleaner.h"

#include <gtest/gtest.h>

#include "keep/worker_extras.h"
#include "storage/sqlite.h"
#include "support/chromium_stores.h"
#include "support/cookie_stores.h"
#include "support/sample_home.h"

namespace tasselby {
namespace {

constexpr CookieTable kChromiumTable{"cookies", "host_key", "name"};
const std::vector<std::string> kCatalogue = {"__utm", "_ga"};

bool keptHost(std::string_view host) {
    std::optional<std::string> site = WorkerExtras::siteWithDomainName(std::string(host));
    return site == "kept.com";
}

class CookieTableCleanerTest : public ::testing::Test {
protected:
    void SetUp() override {
        testing::writeChromiumCookies(path, testing::ChromiumCookieSchema::Version24,
                                      {{"kept.com", "sid"},
                                       {".www.kept.com", "__utma"},
                                       {"other.com", "sid"},
                                       {".other.com", "_ga"},
                                       {"sub.kept.com", "lang"}});
    }
    std::vector<std::string> remaining() { return testing::queryColumn(path, "SELECT host_key || ' ' || name FROM cookies"); }

    testing::TemporaryFolder folder;
    std::string path = folder / "Cookies";
    CookieTableCleaner cleaner{kChromiumTable, keptHost, kCatalogue};
    CookieTableCleaner::Counts counts;
};

TEST_F(CookieTableCleanerTest, AHeldDatabaseIsLeftAsItIs) {
    Sqlite browser(path);
    ASSERT_TRUE(browser.beginTransaction());
    ASSERT_TRUE(browser.executeNonQuery("UPDATE cookies SET value = 'x';"));
    EXPECT_EQ(cleaner.clean(path, false, false, &counts), CookieTableCleaner::Outcome::Locked);
    EXPECT_EQ(counts.rows, 0);
    browser.rollback();
    EXPECT_EQ(remaining().size(), 5u);
}

TEST_F(CookieTableCleanerTest, OtherShapesAreNeverGuessedAt) {
    testing::SampleHome files(folder.path());
    files.writeFile("not-a-database", "plain text, long enough to look like something at all");
    testing::executeSql(folder / "other-shape", "CREATE TABLE cookies (host TEXT, name TEXT); INSERT INTO cookies VALUES ('a.example', 'x');");
    EXPECT_EQ(cleaner.clean(folder / "not-a-database", false, false, &counts), CookieTableCleaner::Outcome::UnknownFormat);
    EXPECT_EQ(cleaner.clean(folder / "other-shape", false, false, &counts), CookieTableCleaner::Outcome::UnknownFormat);
    EXPECT_EQ(cleaner.clean(folder / "missing", false, false, &counts), CookieTableCleaner::Outcome::Missing);
    EXPECT_FALSE(files.exists("missing"));
    EXPECT_EQ(testing::queryColumn(folder / "other-shape", "SELECT host FROM cookies"), std::vector<std::string>{"a.example"});
}

}  // namespace
}  // namespace tasselby
