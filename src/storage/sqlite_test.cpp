#include "storage/sqlite.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <chrono>
#include <thread>

#include "support/sample_home.h"

namespace tasselby {
namespace {

using testing::TemporaryFolder;

class SqliteTest : public ::testing::Test {
protected:
    // Opens db on path() and runs the given statements there.
    void build(std::initializer_list<std::string> statements) {
        ASSERT_TRUE(db.open(path()));
        for (const std::string& sql : statements) ASSERT_TRUE(db.executeNonQuery(sql)) << sql;
    }
    // The rows of a query through a connection of its own.
    SqlRows rows(const std::string& sql) {
        Sqlite reader;
        reader.open(path());
        return reader.executeQuery(sql).value_or(SqlRows{});
    }
    std::size_t count(const std::string& table) { return rows("SELECT * FROM " + table + ";").size(); }
    std::string path() const { return folder / "test.sqlite"; }

    TemporaryFolder folder{"tasselby-sqlite"};
    Sqlite db;
};

SqlValue text(const char* value) { return std::string(value); }

TEST_F(SqliteTest, ValuesComeBackByStorageClass) {
    build({"CREATE TABLE t (i INTEGER, r REAL, s TEXT, b BLOB, n TEXT);",
           "INSERT INTO t VALUES (42, 1.5, 'abc', x'00ff10', NULL);", "INSERT INTO t VALUES (-7, 2, '', x'', 'x');"});
    auto result = db.executeQuery("SELECT * FROM t ORDER BY rowid;");
    ASSERT_TRUE(result);
    EXPECT_EQ(*result, (SqlRows{
                           {{"i", text("42")}, {"r", 1.5}, {"s", text("abc")}, {"b", SqlBlob{0, 0xff, 0x10}},
                            {"n", SqlNull{}}},
                           {{"i", text("-7")}, {"r", 2.0}, {"s", text("")}, {"b", SqlBlob{}}, {"n", text("x")}},
                       }));
    auto twice = db.executeQuery("SELECT 1 AS a, 'two' AS a;");
    EXPECT_EQ(twice, (SqlRows{{{"a", text("two")}}})) << "the later column of a name wins";
}

TEST_F(SqliteTest, DeleteThroughQueryAnswersNoRowsAndDeletes) {
    build({"CREATE TABLE t (a TEXT);", "INSERT INTO t VALUES ('x'), ('y'), ('z');"});
    EXPECT_EQ(db.executeQuery("DELETE FROM t WHERE a IN ('x','z');"), SqlRows{});
    EXPECT_EQ(count("t"), 1u);
    EXPECT_FALSE(db.executeNonQuery("SELECT 1;")) << "a statement that yields a row is no non-query";
}

TEST_F(SqliteTest, StatementsThatCannotBePreparedAnswerNothing) {
    build({"CREATE TABLE other (a);"});
    EXPECT_FALSE(db.executeQuery("SELECT * FROM moz_logins;"));
    EXPECT_FALSE(db.executeQuery("SELEC nonsense"));
    EXPECT_FALSE(db.executeNonQuery("DELETE FROM moz_logins;"));
    EXPECT_EQ(db.errorCode(), SQLITE_ERROR);
    EXPECT_NE(db.errorMessage().find("moz_logins"), std::string::npos);

    // A file that is not a database opens, answers nothing and stays as it was.
    const std::string notDatabase = "this is not a database, only some text that is long enough to be a header\n";
    testing::SampleHome files(folder.path());
    files.writeFile("text.sqlite", notDatabase);
    ASSERT_TRUE(db.open(folder / "text.sqlite"));
    EXPECT_FALSE(db.executeQuery("SELECT * FROM moz_logins;"));
    EXPECT_EQ(db.errorCode(), SQLITE_NOTADB);
    db.close();
    EXPECT_EQ(files.read("text.sqlite"), notDatabase);
}

TEST_F(SqliteTest, OpenCloseAndTheHandlesLife) {
    db.close();  // never opened: nothing to do
    ASSERT_TRUE(db.open(path())) << "a missing file is created";
    EXPECT_EQ(db.filePath(), path());
    EXPECT_EQ(db.executeQuery("SELECT name FROM sqlite_master;"), SqlRows{});
    ASSERT_TRUE(db.executeNonQuery("CREATE TABLE first (a);"));

    const std::string second = folder / "second.sqlite";
    ASSERT_TRUE(db.open(second));
    EXPECT_EQ(db.filePath(), second);
    EXPECT_FALSE(db.executeQuery("SELECT * FROM first;")) << "the first database was closed";

    EXPECT_FALSE(db.open(folder / "missing/folder/test.sqlite"));
    EXPECT_FALSE(db.filePath());
    EXPECT_NE(db._db(), nullptr) << "SQLite hands back a handle even when the open fails";
    db.close();
    EXPECT_EQ(db._db(), nullptr);
}

TEST_F(SqliteTest, ArgumentsBindByTheirKind) {
    build({"CREATE TABLE t (v);"});
    const SqlDate date = std::chrono::system_clock::from_time_t(1000000000) + std::chrono::milliseconds(500);
    const SqlArguments arguments = {SqlNull{},           SqlBlob{1, 2},      date, true, false,
                                    std::int32_t{-3},    std::int64_t{1} << 40, 1.5f, 2.25,
                                    std::string("text"), std::string("cut\0off", 7)};
    for (const SqlArgument& argument : arguments) {
        ASSERT_TRUE(db.executeNonQuery("INSERT INTO t VALUES (?);", {argument}));
    }
    ASSERT_TRUE(db.executeNonQuery("INSERT INTO t VALUES (?);", {})) << "a missing argument binds NULL";

    auto result = db.executeQuery("SELECT typeof(v) AS type, v FROM t WHERE rowid > ? ORDER BY rowid;",
                                  {std::int64_t{0}});
    ASSERT_TRUE(result);
    const std::vector<std::pair<const char*, SqlValue>> expected = {
        {"null", SqlNull{}},  {"blob", SqlBlob{1, 2}},           {"real", 1000000000.5},
        {"integer", text("1")}, {"integer", text("0")},          {"integer", text("-3")},
        {"integer", text("1099511627776")}, {"real", 1.5},       {"real", 2.25},
        {"text", text("text")}, {"text", text("cut")},           {"null", SqlNull{}},
    };
    ASSERT_EQ(result->size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(result->at(i).at("type"), text(expected[i].first)) << "row " << i;
        EXPECT_EQ(result->at(i).at("v"), expected[i].second) << "row " << i;
    }
}

TEST_F(SqliteTest, TransactionsCommitAndRollBack) {
    build({"CREATE TABLE t (a);"});
    ASSERT_TRUE(db.beginTransaction());
    ASSERT_TRUE(db.executeNonQuery("INSERT INTO t VALUES (1);"));
    ASSERT_TRUE(db.rollback());
    EXPECT_EQ(count("t"), 0u);
    ASSERT_TRUE(db.beginDeferredTransaction());
    ASSERT_TRUE(db.executeNonQuery("INSERT INTO t VALUES (2);"));
    ASSERT_TRUE(db.commit());
    EXPECT_EQ(count("t"), 1u);
    EXPECT_FALSE(db.commit()) << "no transaction is open";
}

class SqliteBusyTest : public SqliteTest {
protected:
    void SetUp() override {
        build({"CREATE TABLE t (a);", "INSERT INTO t VALUES ('kept');"});
        ASSERT_TRUE(db.open(path())) << "afresh, with no schema read yet";
        ASSERT_TRUE(locker.open(path()));
        ASSERT_TRUE(locker.beginTransaction());
    }
    Sqlite locker;
};

TEST_F(SqliteBusyTest, LockedDatabaseGivesUpAtOnceByDefault) {
    EXPECT_FALSE(db.executeQuery("SELECT * FROM t;"));
    EXPECT_EQ(db.errorCode(), SQLITE_BUSY);
    db.setBusyRetryTimeout(0);
    EXPECT_FALSE(db.executeNonQuery("DELETE FROM t;"));
    locker.commit();
    EXPECT_EQ(count("t"), 1u);
}

TEST_F(SqliteBusyTest, NegativeTimeoutRetriesUntilTheLockGoes) {
    db.setBusyRetryTimeout(-1);
    std::thread release([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        locker.commit();
    });
    auto result = db.executeQuery("SELECT * FROM t;");
    release.join();
    EXPECT_EQ(result, (SqlRows{{{"a", text("kept")}}}));
}

}  // namespace
}  // namespace tasselby
