#include "platform/binary_cookie_storage.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/cookie_stores.h"
#include "support/sample_home.h"

namespace tasselby {
namespace {

using testing::BinaryCookieFileBuilder;
using testing::kBinaryCookieFile;

// A cookie that was never read from the file.
HttpCookie guessedCookie() {
    HttpCookie cookie;
    cookie.name = "sid";
    cookie.domain = ".example.com";
    cookie.path = "/";
    cookie.value = "1";
    return cookie;
}

class BinaryCookieStorageTest : public ::testing::Test {
protected:
    std::string write(const std::string& bytes) { return home.writeFile(kBinaryCookieFile, bytes); }
    ino_t inode() const {
        struct stat status {};
        stat(path.c_str(), &status);
        return status.st_ino;
    }
    std::vector<std::string> folderEntries() {
        std::vector<std::string> entries;
        for (const auto& entry : std::filesystem::directory_iterator(home.path("Library/Cookies"))) {
            entries.push_back(entry.path().filename().string());
        }
        return entries;
    }

    testing::TemporaryFolder folder;
    testing::SampleHome home{folder.path()};
    std::string path = home.path(kBinaryCookieFile);
    std::string twoPages = BinaryCookieFileBuilder()
                               .page({{".example.com", "sid"}, {".tracker.net", "__utma"}})
                               .page({{".example.org", "lang"}})
                               .bytes();
};

TEST_F(BinaryCookieStorageTest, DeletionsReachTheFileOnlyAtFlushInOneReplacement) {
    write(twoPages);
    const ino_t before = inode();
    chmod(path.c_str(), 0600);
    BinaryCookieStorage storage(path);
    std::vector<HttpCookie> cookies = storage.cookies();
    ASSERT_EQ(cookies.size(), 3u);
    storage.deleteCookie(guessedCookie());
    storage.flush();
    EXPECT_EQ(inode(), before) << "a flush without a deletion leaves the file alone";

    storage.deleteCookie(cookies[1]);
    storage.deleteCookie(cookies[2]);
    EXPECT_EQ(home.read(kBinaryCookieFile), twoPages) << "nothing is written before the flush";

    storage.flush();
    std::string expected = BinaryCookieFileBuilder().page({{".example.com", "sid"}}).bytes();
    EXPECT_EQ(home.read(kBinaryCookieFile), expected);
    struct stat after {};
    stat(path.c_str(), &after);
    EXPECT_NE(after.st_ino, before) << "replaced by rename, not rewritten in place";
    EXPECT_EQ(after.st_mode & 07777, 0600u);
    EXPECT_EQ(folderEntries(), std::vector<std::string>{"Cookies.binarycookies"}) << "no temporary file left";

    ASSERT_EQ(storage.cookies().size(), 1u);
    storage.flush();
    EXPECT_EQ(home.read(kBinaryCookieFile), expected);
}

TEST_F(BinaryCookieStorageTest, MissingOrUnreadableFileIsNeverWritten) {
    BinaryCookieStorage missing(path);
    EXPECT_TRUE(missing.cookies().empty());
    missing.deleteCookie(guessedCookie());
    missing.flush();
    EXPECT_FALSE(home.exists(kBinaryCookieFile));

    std::string badChecksum = twoPages;
    badChecksum[badChecksum.size() - 84] ^= 1;
    for (const std::string& bytes : {twoPages.substr(0, twoPages.size() - 1), badChecksum, std::string("not cookies")}) {
        write(bytes);
        BinaryCookieStorage storage(path);
        EXPECT_TRUE(storage.cookies().empty());
        storage.deleteCookie(guessedCookie());
        storage.flush();
        EXPECT_EQ(home.read(kBinaryCookieFile), bytes);
    }
}

TEST_F(BinaryCookieStorageTest, FileChangedSinceReadingIsNotOverwritten) {
    write(twoPages);
    BinaryCookieStorage storage(path);
    storage.deleteCookie(storage.cookies()[0]);
    std::string newer = BinaryCookieFileBuilder().page({{".example.com", "sid"}, {".new.com", "fresh"}}).bytes();
    write(newer);
    storage.flush();
    EXPECT_EQ(home.read(kBinaryCookieFile), newer);
}

}  // namespace
}  // namespace tasselby
