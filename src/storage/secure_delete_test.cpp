#include "storage/secure_delete.h"

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "platform/fake_platform.h"
#include "support/overwrite_pattern.h"
#include "support/sample_home.h"

namespace tasselby {
namespace {

// The fake with the size a file reports and the writes it receives under the
// test's control.
class WriteRecordingPlatform : public FakePlatform {
public:
    using FakePlatform::FakePlatform;

    std::optional<std::uint64_t> sizeOfOpenFile(int fd) override {
        if (failStatus) return std::nullopt;
        return reportedSize ? reportedSize : FakePlatform::sizeOfOpenFile(fd);
    }
    long writeToFile(int fd, const unsigned char* bytes, std::size_t count) override {
        writes.push_back(count);
        if (failedWrites > 0 && failedWrites--) return -1;
        return FakePlatform::writeToFile(fd, bytes, count);
    }

    int failedWrites = 0;
    bool failStatus = false;
    std::optional<std::uint64_t> reportedSize;
    std::vector<std::size_t> writes;
};

class SecureDeleteTest : public ::testing::Test {
protected:
    testing::TemporaryFolder folder;
    testing::SampleHome home{folder.path()};
    WriteRecordingPlatform platform{folder.path()};

    std::string fileOf(std::size_t size) { return home.writeFile("data.bin", std::string(size, '\xFF')); }
};

TEST_F(SecureDeleteTest, EmptyFileIsOpenedThreeTimesWithoutWrites) {
    std::string path = fileOf(0);
    EXPECT_TRUE(SecureDelete::wipe(platform, path));
    EXPECT_EQ(platform.overwritten, std::vector<std::string>(3, path));
    EXPECT_TRUE(platform.writes.empty());
    EXPECT_TRUE(platform.openFiles.empty());
}

TEST_F(SecureDeleteTest, EachPassWritesWholeBuffersThenTheRestAndTheLastLeavesNoFF) {
    std::string path = fileOf(5000);
    EXPECT_TRUE(SecureDelete::wipe(platform, path));

    std::vector<std::size_t> expected;
    for (int pass = 0; pass < 3; ++pass) expected.insert(expected.end(), {1024, 1024, 1024, 1024, 904});
    EXPECT_EQ(platform.writes, expected);
    EXPECT_EQ(platform.overwritten.size(), 3u) << "every pass reopens the file";
    std::string bytes = home.read("data.bin");
    EXPECT_EQ(bytes.size(), 5000u) << "nothing is truncated";
    EXPECT_TRUE(testing::isLastPassPattern(bytes));
    EXPECT_TRUE(platform.removed.empty()) << "overwriting never removes";
}

// Phases 1 and 2 write their byte; every phase-3 call draws a new pattern.
TEST_F(SecureDeleteTest, SinglePassesFillTheFileWithTheirPattern) {
    std::string path = fileOf(3000);
    for (auto [phase, byte] : {std::pair{1, '\x55'}, std::pair{2, '\xAA'}}) {
        EXPECT_TRUE(SecureDelete::wipe(platform, path, phase));
        EXPECT_EQ(home.read("data.bin"), std::string(3000, byte)) << "phase " << phase;
    }
    ASSERT_TRUE(SecureDelete::wipe(platform, path, 3));
    std::string first = home.read("data.bin");
    ASSERT_TRUE(SecureDelete::wipe(platform, path, 3));
    EXPECT_NE(home.read("data.bin"), first);
}

// An invalid phase or a failed status answers NO without writing and leaves
// the descriptor open; a failing pass ends the sequence.
TEST_F(SecureDeleteTest, EarlyFailuresKeepTheDescriptor) {
    std::string path = fileOf(100);
    for (int phase : {0, 4, -1}) EXPECT_FALSE(SecureDelete::wipe(platform, path, phase)) << "phase " << phase;
    platform.failStatus = true;
    EXPECT_FALSE(SecureDelete::wipe(platform, path));
    EXPECT_EQ(platform.overwritten.size(), 4u) << "phases 2 and 3 are not tried";
    EXPECT_TRUE(platform.writes.empty());
    EXPECT_EQ(platform.openFiles.size(), 4u);
    for (const auto& open : platform.openFiles) close(open.first);
}

TEST_F(SecureDeleteTest, OnlyTheLowThirtyTwoBitsOfTheSizeAreWritten) {
    std::string path = fileOf(100);
    platform.reportedSize = std::uint64_t{1} << 32;
    EXPECT_TRUE(SecureDelete::wipe(platform, path));
    EXPECT_TRUE(platform.writes.empty());

    platform.reportedSize = (std::uint64_t{1} << 32) + 10;
    EXPECT_TRUE(SecureDelete::wipe(platform, path, 1));
    EXPECT_EQ(platform.writes, std::vector<std::size_t>{10});
}

// A failed write's -1 is subtracted as it stands and the loop goes on; a run
// of writes that take nothing gives the pass up with NO.
TEST_F(SecureDeleteTest, FailedWritesCountAsMinusOneUntilTheyStopMakingProgress) {
    struct Case {
        int failedWrites;
        bool answer;
        std::vector<std::size_t> writes;
    };
    for (const Case& c : {Case{1, true, {100, 101}}, Case{3, true, {100, 101, 102, 103}},
                          Case{1000000, false, {100, 101, 102, 103}}}) {
        std::string path = fileOf(100);
        platform.writes.clear();
        platform.failedWrites = c.failedWrites;
        EXPECT_EQ(SecureDelete::wipe(platform, path, 2), c.answer) << c.failedWrites;
        EXPECT_EQ(platform.writes, c.writes) << c.failedWrites;
    }
    EXPECT_TRUE(platform.openFiles.empty());
}

// A real full disk: a small file system filled up, and a sparse file whose
// holes can no longer be given blocks. Needs the right to mount.
TEST_F(SecureDeleteTest, SparseFileOnAFullDiskIsGivenUp) {
    std::string disk = home.makeFolder("disk");
    if (mount("tasselby-test", disk.c_str(), "tmpfs", 0, "size=1m") != 0) {
        GTEST_SKIP() << "cannot mount a file system here";
    }
    struct Unmount {
        std::string path;
        ~Unmount() { umount2(path.c_str(), MNT_DETACH); }
    } unmount{disk};
    std::string sparse = disk + "/sparse";
    std::filesystem::resize_file(home.writeFile("disk/sparse", ""), 64 << 20);
    std::string filler = home.writeFile("disk/filler", "");
    {
        std::ofstream out(filler, std::ios::binary);
        std::string block(4096, 'x');
        while (out.write(block.data(), static_cast<std::streamsize>(block.size()))) {
        }
    }
    EXPECT_FALSE(SecureDelete::wipe(platform, sparse));
    EXPECT_EQ(std::filesystem::file_size(sparse), std::uintmax_t{64} << 20);
}
TEST_F(SecureDeleteTest, WipeContentsofDirOverwritesTheOneFileAndPassesOverAMissingOne) {
    EXPECT_TRUE(SecureDelete::wipe(platform, folder / "missing"));
    EXPECT_TRUE(SecureDelete::wipeContentsofDir(platform, folder / "missing"));
    EXPECT_TRUE(platform.overwritten.empty());
    std::string path = fileOf(2048);
    EXPECT_TRUE(SecureDelete::wipeContentsofDir(platform, path));
    EXPECT_EQ(platform.overwritten.size(), 3u);
    EXPECT_TRUE(testing::isLastPassPattern(home.read("data.bin")));
}

TEST_F(SecureDeleteTest, FolderIsWalkedWithoutWriting) {
    home.writeFile("cache/a", "first");
    home.writeFile("cache/sub/deeper/b", "second");
    home.writeFile("outside/c", "third");
    std::filesystem::create_directory_symlink(home.path("outside"), home.path("cache/sub/link"));
    EXPECT_TRUE(SecureDelete::wipe(platform, home.path("cache")));
    EXPECT_TRUE(SecureDelete::wipe(platform, home.makeFolder("empty")));
    EXPECT_TRUE(platform.overwritten.empty());
    EXPECT_EQ(home.read("cache/sub/deeper/b"), "second");
}

}  // namespace
}  // namespace tasselby
