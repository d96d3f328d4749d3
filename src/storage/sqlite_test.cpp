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
    // A database at path() holding the given statements' effect.
    void build(std::initializer_list<std::string> statements) {
        Sqlite setup;
        ASSERT_TRUE(setup.open(path()));
        for (const std::string& sql : statements) ASSERT_TRUE(setup.executeNonQuery(sql)) << sql;
    }
    long count(const std::string& table) {
        Sqlite reader;
        reader.open(path());
        auto rows = reader.executeQuery("SELECT count(*) AS n FROM " + table + ";");
        return rows && rows->size() == 1 ? std::stol(*sqlText(rows->front().at("n"))) : -1;
    }
    std::string path() const { return folder / "test.sqlite"; }

    TemporaryFolder folder{"tasselby-sqlite"};
};

TEST_F(SqliteTest, ValuesComeBackByStorageClass) {
    build({"CREATE TABLE t (i INTEGER, r REAL, s TEXT, b BLOB, n TEXT);",
           "INSERT INTO t VALUES (42, 1.5, 'abc', x'00ff10', NULL);", "INSERT INTO t VALUES (-7, 2, '', x'', 'x');"});
    Sqlite db;
    ASSERT_TRUE(db.open(path()));
    auto rows = db.executeQuery("SELECT * FROM t ORDER BY rowid;");
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->size(), 2u);
    const SqlRow& first = rows->at(0);
    EXPECT_EQ(first.at("i"), SqlValue(std::string("42")));
    EXPECT_EQ(first.at("r"), SqlValue(1.5));
    EXPECT_EQ(first.at("s"), SqlValue(std::string("abc")));
    EXPECT_EQ(first.at("b"), SqlValue(SqlBlob{0x00, 0xff, 0x10}));
    EXPECT_EQ(first.at("n"), SqlValue(SqlNull{}));
    const SqlRow& second = rows->at(1);
    EXPECT_EQ(second.at("i"), SqlValue(std::string("-7")));
    EXPECT_EQ(second.at("r"), SqlValue(2.0)) << "a REAL column stores 2 as a float";
    EXPECT_EQ(second.at("s"), SqlValue(std::string())) << "empty text is not NULL";
    EXPECT_EQ(second.at("b"), SqlValue(SqlBlob{}));
}

TEST_F(SqliteTest, LaterColumnOfTheSameNameWins) {
    build({"CREATE TABLE t (a);"});
    Sqlite db;
    ASSERT_TRUE(db.open(path()));
    auto rows = db.executeQuery("SELECT 1 AS a, 'two' AS a;");
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->size(), 1u);
    EXPECT_EQ(rows->front().size(), 1u);
    EXPECT_EQ(rows->front().at("a"), SqlValue(std::string("two")));
}

TEST_F(SqliteTest, DeleteThroughQueryAnswersNoRowsAndDeletes) {
    build({"CREATE TABLE t (a TEXT);", "INSERT INTO t VALUES ('x'), ('y'), ('z');"});
    Sqlite db;
    ASSERT_TRUE(db.open(path()));
    auto rows = db.executeQuery("DELETE FROM t WHERE a IN ('x','z');");
    ASSERT_TRUE(rows);
    EXPECT_TRUE(rows->empty());
    db.close();
    EXPECT_EQ(count("t"), 1);
}

TEST_F(SqliteTest, StatementsThatCannotBePreparedAnswerNothing) {
    build({"CREATE TABLE other (a);"});
    Sqlite db;
    ASSERT_TRUE(db.open(path()));
    EXPECT_FALSE(db.executeQuery("SELECT * FROM moz_logins;"));
    EXPECT_FALSE(db.executeQuery("SELEC nonsense"));
    EXPECT_FALSE(db.executeNonQuery("DELETE FROM moz_logins;"));
    EXPECT_EQ(db.errorCode(), SQLITE_ERROR);
    EXPECT_NE(db.errorMessage().find("moz_logins"), std::string::npos);
}

TEST_F(SqliteTest, FileThatIsNotADatabaseAnswersNothingAndStaysAsItWas) {
    const std::string text = "this is not a database, only some text that is long enough to be a header\n";
    testing::SampleHome files(folder.path());
    files.writeFile("test.sqlite", text);
    Sqlite db;
    ASSERT_TRUE(db.open(path())) << "opening does not read the file";
    EXPECT_FALSE(db.executeQuery("SELECT * FROM moz_logins;"));
    EXPECT_EQ(db.errorCode(), SQLITE_NOTADB);
    db.close();
    EXPECT_EQ(files.read("test.sqlite"), text);
}

TEST_F(SqliteTest, OpeningAMissingPathCreatesAnEmptyDatabase) {
    Sqlite db;
    ASSERT_TRUE(db.open(path()));
    EXPECT_EQ(db.filePath(), path());
    EXPECT_TRUE(std::filesystem::exists(path()));
    auto tables = db.executeQuery("SELECT name FROM sqlite_master;");
    ASSERT_TRUE(tables);
    EXPECT_TRUE(tables->empty());
}

TEST_F(SqliteTest, FailedOpenKeepsItsHandleUntilClose) {
    Sqlite db;
    db.close();  // never opened: nothing to do
    EXPECT_EQ(db._db(), nullptr);
    EXPECT_FALSE(db.open(folder / "missing/folder/test.sqlite"));
    EXPECT_FALSE(db.filePath());
    EXPECT_NE(db._db(), nullptr) << "SQLite hands back a handle even when the open fails";
    db.close();
    EXPECT_EQ(db._db(), nullptr);
    // The destructor releases a failed open's handle as well (the sanitizer build checks).
    Sqlite failed(folder / "missing/folder/test.sqlite");
    EXPECT_FALSE(failed.filePath());
}

TEST_F(SqliteTest, OpeningAgainClosesTheFirstDatabase) {
    build({"CREATE TABLE first (a);"});
    Sqlite db;
    ASSERT_TRUE(db.open(path()));
    const std::string second = folder / "second.sqlite";
    ASSERT_TRUE(db.open(second));
    EXPECT_EQ(db.filePath(), second);
    EXPECT_FALSE(db.executeQuery("SELECT * FROM first;"));
}

TEST_F(SqliteTest, ConstructorWithPathOpensWithoutBusyRetries) {
    build({"CREATE TABLE t (a);", "INSERT INTO t VALUES (1);"});
    Sqlite db(path());
    EXPECT_EQ(db.busyRetryTimeout(), 0);
    EXPECT_EQ(db.filePath(), path());
    EXPECT_EQ(Sqlite().busyRetryTimeout(), 1);
    auto rows = db.executeQuery("SELECT a FROM t;");
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->size(), 1u);
}

TEST_F(SqliteTest, ArgumentsBindByTheirKind) {
    build({"CREATE TABLE t (v);"});
    Sqlite db;
    ASSERT_TRUE(db.open(path()));
    const SqlDate date = std::chrono::system_clock::from_time_t(1000000000) + std::chrono::milliseconds(500);
    const SqlArguments arguments = {SqlNull{},           SqlBlob{1, 2},      date, true, false,
                                    std::int32_t{-3},    std::int64_t{1} << 40, 1.5f, 2.25,
                                    std::string("text"), std::string("cut\0off", 7)};
    for (const SqlArgument& argument : arguments) {
        ASSERT_TRUE(db.executeNonQuery("INSERT INTO t VALUES (?);", {argument}));
    }
    ASSERT_TRUE(db.executeNonQuery("INSERT INTO t VALUES (?);", {})) << "a missing argument binds NULL";

    auto rows = db.executeQuery("SELECT typeof(v) AS type, v FROM t ORDER BY rowid;");
    ASSERT_TRUE(rows);
    const std::vector<std::pair<std::string, SqlValue>> expected = {
        {"null", SqlNull{}},
        {"blob", SqlBlob{1, 2}},
        {"real", 1000000000.5},
        {"integer", std::string("1")},
        {"integer", std::string("0")},
        {"integer", std::string("-3")},
        {"integer", std::string("1099511627776")},
        {"real", 1.5},
        {"real", 2.25},
        {"text", std::string("text")},
        {"text", std::string("cut")},
        {"null", SqlNull{}},
    };
    ASSERT_EQ(rows->size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(rows->at(i).at("type"), SqlValue(expected[i].first)) << "row " << i;
        EXPECT_EQ(rows->at(i).at("v"), expected[i].second) << "row " << i;
    }
}

TEST_F(SqliteTest, QueryArgumentsSelectRows) {
    build({"CREATE TABLE t (host TEXT, n INTEGER);", "INSERT INTO t VALUES ('a', 1), ('b', 2), ('c', 3);"});
    Sqlite db;
    ASSERT_TRUE(db.open(path()));
    auto rows = db.executeQuery("SELECT host FROM t WHERE n >= ? AND host <> ?;",
                                {std::int64_t{2}, std::string("c")});
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->size(), 1u);
    EXPECT_EQ(rows->front().at("host"), SqlValue(std::string("b")));
}

TEST_F(SqliteTest, NonQueryThatProducesARowAnswersNo) {
    build({"CREATE TABLE t (a);"});
    Sqlite db;
    ASSERT_TRUE(db.open(path()));
    EXPECT_FALSE(db.executeNonQuery("SELECT 1;"));
    EXPECT_TRUE(db.executeNonQuery("INSERT INTO t VALUES (1);"));
}

TEST_F(SqliteTest, TransactionsCommitAndRollBack) {
    build({"CREATE TABLE t (a);"});
    Sqlite db;
    ASSERT_TRUE(db.open(path()));
    ASSERT_TRUE(db.beginTransaction());
    ASSERT_TRUE(db.executeNonQuery("INSERT INTO t VALUES (1);"));
    ASSERT_TRUE(db.rollback());
    EXPECT_EQ(count("t"), 0);
    ASSERT_TRUE(db.beginDeferredTransaction());
    ASSERT_TRUE(db.executeNonQuery("INSERT INTO t VALUES (2);"));
    ASSERT_TRUE(db.commit());
    EXPECT_EQ(count("t"), 1);
    EXPECT_FALSE(db.commit()) << "no transaction is open";
}

TEST_F(SqliteTest, StatementBuildingBlocksStepThroughRows) {
    build({"CREATE TABLE t (a INTEGER, b TEXT);", "INSERT INTO t VALUES (5, 'five');"});
    Sqlite db;
    ASSERT_TRUE(db.open(path()));
    sqlite3_stmt* statement = nullptr;
    ASSERT_TRUE(db.prepareSql("SELECT a, b FROM t WHERE a = ?;", &statement));
    db.bindObject(std::int32_t{5}, 1, statement);
    ASSERT_TRUE(db.hasData(statement));
    EXPECT_EQ(db.columnName(statement, 1), "b");
    EXPECT_EQ(db.columnData(statement, 0), SqlValue(std::string("5")));
    EXPECT_EQ(db.columnData(statement, 1), SqlValue(std::string("five")));
    EXPECT_FALSE(db.hasData(statement));
    sqlite3_finalize(statement);

    ASSERT_TRUE(db.prepareSql("INSERT INTO t VALUES (6, 'six');", &statement));
    EXPECT_TRUE(db.executeStatament(statement));
    sqlite3_finalize(statement);
    EXPECT_EQ(count("t"), 2);
}

TEST_F(SqliteTest, AdoptedConnectionIsClosedByTheInstance) {
    build({"CREATE TABLE t (a);"});
    sqlite3* handle = nullptr;
    ASSERT_EQ(sqlite3_open(path().c_str(), &handle), SQLITE_OK);
    Sqlite db;
    db.set_db(handle);
    EXPECT_TRUE(db.executeQuery("SELECT * FROM t;"));
    db.close();
    EXPECT_EQ(db._db(), nullptr);
}

class SqliteBusyTest : public SqliteTest {
protected:
    void SetUp() override {
        build({"CREATE TABLE t (a);", "INSERT INTO t VALUES ('kept');"});
        ASSERT_TRUE(locker.open(path()));
        ASSERT_TRUE(locker.beginTransaction());
    }
    Sqlite locker;
};

TEST_F(SqliteBusyTest, LockedDatabaseGivesUpAtOnceByDefault) {
    Sqlite db;
    ASSERT_TRUE(db.open(path()));
    EXPECT_FALSE(db.executeQuery("SELECT * FROM t;"));
    EXPECT_EQ(db.errorCode(), SQLITE_BUSY);
    db.setBusyRetryTimeout(0);
    EXPECT_FALSE(db.executeNonQuery("DELETE FROM t;"));
    locker.commit();
    EXPECT_EQ(count("t"), 1);
}

TEST_F(SqliteBusyTest, NegativeTimeoutRetriesUntilTheLockGoes) {
    Sqlite db;
    ASSERT_TRUE(db.open(path()));
    db.setBusyRetryTimeout(-1);
    std::thread release([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        locker.commit();
    });
    auto rows = db.executeQuery("SELECT * FROM t;");
    release.join();
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->size(), 1u);
    EXPECT_EQ(rows->front().at("a"), SqlValue(std::string("kept")));
}

TEST(SqliteClassTest, VersionAndUuids) {
    EXPECT_EQ(Sqlite::version(), sqlite3_libversion());
    const std::string uuid = Sqlite::createUuid();
    ASSERT_EQ(uuid.size(), 36u);
    for (std::size_t i = 0; i < uuid.size(); ++i) {
        if (i == 8 || i == 13 || i == 18 || i == 23) {
            EXPECT_EQ(uuid[i], '-');
        } else {
            EXPECT_TRUE(std::isdigit(static_cast<unsigned char>(uuid[i])) || (uuid[i] >= 'A' && uuid[i] <= 'F'))
                << uuid;
        }
    }
    EXPECT_EQ(uuid[14], '4') << "a random UUID";
    EXPECT_NE(Sqlite::createUuid(), uuid);
}

}  // namespace
}  // namespace tasselby
