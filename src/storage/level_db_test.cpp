#include "storage/level_db.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/chromium_stores.h"
#include "support/lock_holder.h"
#include "support/sample_home.h"

namespace tasselby {
namespace {

namespace fs = std::filesystem;

using testing::snapshot;

class LevelDbTest : public ::testing::Test {
protected:
    void SetUp() override { testing::writeLevelDb(store, {{"VERSION", "1"}, {"a", "1"}, {"b", "2"}, {"c", "3"}}); }

    testing::TemporaryFolder folder;
    std::string store = folder / "leveldb";
    LevelDb::Status status = LevelDb::Status::Missing;
};

TEST_F(LevelDbTest, DeletionKeepsTheStoresFileModes) {
    for (bool compact : {false, true}) {
        SetUp();
        {
            std::unique_ptr<LevelDb> database = LevelDb::openForEditing(store, &status);
            ASSERT_TRUE(database);
            EXPECT_TRUE(database->remove({"a", "c"}, compact));
        }
        EXPECT_EQ(testing::readLevelDb(store), (std::map<std::string, std::string>{{"VERSION", "1"}, {"b", "2"}}));
        for (const fs::directory_entry& file : fs::directory_iterator(store)) {
            EXPECT_EQ(file.status().permissions(), fs::perms::owner_read | fs::perms::owner_write)
                << file.path() << " compact " << compact;
        }
    }
}

TEST_F(LevelDbTest, ACopyIsReadAndTheStoreIsNotTouched) {
    auto before = snapshot(store);
    {
        std::unique_ptr<LevelDb> copy = LevelDb::openCopy(store, &status);
        ASSERT_TRUE(copy);
        std::vector<std::string> keys;
        EXPECT_TRUE(copy->scan("b", [&](std::string_view key, std::string_view) {
            keys.emplace_back(key);
            return true;
        }));
        EXPECT_EQ(keys, (std::vector<std::string>{"b", "c"}));
        EXPECT_EQ(copy->get("a"), "1");
        EXPECT_FALSE(copy->get("z"));
    }
    EXPECT_EQ(snapshot(store), before);
}

TEST_F(LevelDbTest, AStoreAnotherProcessHoldsIsNeitherOpenedNorChanged) {
    auto before = snapshot(store);
    {
        testing::LockHolder browser(store + "/LOCK");
        EXPECT_TRUE(LevelDb::lockHeld(store));
        EXPECT_FALSE(LevelDb::openForEditing(store, &status));
        EXPECT_EQ(status, LevelDb::Status::Locked);
    }
    EXPECT_FALSE(LevelDb::lockHeld(store));
    EXPECT_EQ(snapshot(store), before);
}

TEST_F(LevelDbTest, StoresThatAreNotLevelDbsDoNotOpen) {
    EXPECT_FALSE(LevelDb::openForEditing(folder / "missing", &status));
    EXPECT_EQ(status, LevelDb::Status::Missing);
    testing::SampleHome files(folder.path());
    files.writeFile("damaged/CURRENT", "MANIFEST-000009\n");
    for (auto open : {&LevelDb::openForEditing, &LevelDb::openCopy}) {
        EXPECT_FALSE(open(folder / "damaged", &status));
        EXPECT_EQ(status, LevelDb::Status::Unreadable);
    }
    EXPECT_EQ(files.read("damaged/CURRENT"), "MANIFEST-000009\n");
}

}  // namespace
}  // namespace tasselby
