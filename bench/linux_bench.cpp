// The Linux layout against BleachBit and against the bare work it stands for.
//
//   cmake --build build --target linux_bench && TMPDIR=/dev/shm ./build/linux_bench [chromium] [firefox]
//
// For each browser (both when none is named), identical homes are built under
// TMPDIR: 2,000 sites, each with a local-storage origin, 500 of them with
// IndexedDB, 50,000 cache files, saved passwords for every other site, and
// first 20,000 then 2,000 cookies over the same sites. Every contestant gets a
// fresh copy of the same home, and the contestants take turns within each
// round (the order rotates from round to round); the median of the rounds is
// reported.
//   - the worker, `--layout=linux`, keeping the sites with saved passwords;
//   - BleachBit with its cookie, cache and DOM-storage options for the browser,
//     HOME pointed at the copy, removing everything those options name;
//   - the cookie floor: one SQLite DELETE of exactly the rows the worker
//     removes, on its own connection, beside the worker's own cookie step
//     (its cookie-table cleaner on the same file, timed alone in a child
//     process, three of each per round);
//   - the removal floor: one `rm -rf` of exactly the folders the worker removes
//     whole, beside the worker on the same home holding only those folders and
//     its saved passwords.
// After every run the copy is checked: the worker must have removed exactly
// what it should and kept the rest, BleachBit must have removed what its
// options name, the floors the same rows and trees. What BleachBit's options
// leave behind is printed. The worker and BleachBit run without a session bus
// or display, so no keyring, notification service or window adds to either.
#include <fcntl.h>
#include <leveldb/db.h>
#include <leveldb/write_batch.h>
#include <spawn.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "app/worker_app_delegate.h"
#include "keep/keep_set.h"
#include "keep/worker_extras.h"
#include "linux/cookie_table_cleaner.h"
#include "linux/login_keep_list.h"
#include "platform/fake_platform.h"
#include "support/sample_home.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;
using tasselby::testing::TemporaryFolder;

constexpr int kSites = 2000;
constexpr int kIndexedDbSites = 500;
constexpr int kCacheFiles = 50000;
constexpr int kKeysPerOrigin = 5;
constexpr int kNeverSaveLogins = 20;  // "never save here" entries, which keep nothing
constexpr std::size_t kCacheEntrySize = 1024;
constexpr int kRounds = 3;
constexpr int kCookieRepeats = 3;  // cookie runs per round
constexpr int kLargeCookies = 20000;
constexpr int kSmallCookies = 2000;

constexpr double kWholeRunGoal = 0.25;
constexpr double kCookieGoal = 1.2;
constexpr double kRemovalGoal = 1.1;
constexpr double kMemoryGoal = 0.10;

// ---------------------------------------------------------------- the sites

std::string siteName(int k) { return "site" + std::to_string(k) + ".com"; }
std::string hostName(int k) { return "www." + siteName(k); }
std::string originOf(int k) { return "https://" + hostName(k); }
bool isKept(int k) { return k % 2 == 0; }  // a password is saved for every other site

// Cookie i of a home: the sites take turns, and each site's cookies go to its
// domain, its "www" host and a "shop" host in turn. One in five has a
// tracking name (the catalogue's "__u" prefix), half of those on kept sites.
struct CookieShape {
    int site;
    std::string host;
    std::string name;
    bool tracking;
};

CookieShape cookieShape(int i) {
    int k = i % kSites;
    int variant = (i / kSites) % 3;
    std::string host = variant == 0 ? "." + siteName(k) : variant == 1 ? hostName(k) : "shop." + siteName(k);
    bool tracking = i % 5 == 4;
    return {k, host, (tracking ? "__utm" : "pref") + std::to_string(i), tracking};
}

bool cookieSurvives(int i) {
    CookieShape shape = cookieShape(i);
    return isKept(shape.site) && !shape.tracking;
}

long survivingCookies(int cookies) {
    long count = 0;
    for (int i = 0; i < cookies; ++i) count += cookieSurvives(i);
    return count;
}

// The one statement that removes the same rows as the worker.
std::string cookieFloorStatement(int cookies, const std::string& table, const std::string& hostColumn) {
    std::set<std::string> hosts;
    for (int i = 0; i < cookies; ++i) {
        CookieShape shape = cookieShape(i);
        if (!isKept(shape.site)) hosts.insert(shape.host);
    }
    std::string list;
    for (const std::string& host : hosts) list += (list.empty() ? "'" : ",'") + host + "'";
    return "DELETE FROM " + table + " WHERE " + hostColumn + " IN (" + list + ") OR name GLOB '__utm*';";
}

std::uint64_t scramble(std::uint64_t x) {
    x += 0x9e3779b97f4a7c15ULL;
    x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9ULL;
    x = (x ^ (x >> 27)) * 0x94d049bb133111ebULL;
    return x ^ (x >> 31);
}

std::string bytesOf(std::size_t size, std::uint64_t seed) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; i += 8) {
        std::uint64_t word = scramble(seed + i);
        std::memcpy(bytes.data() + i, &word, std::min<std::size_t>(8, size - i));
    }
    return bytes;
}

// ------------------------------------------------------------ file helpers

void writeFile(const std::string& path, const std::string& contents, mode_t mode = 0600) {
    int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
    if (fd < 0 || write(fd, contents.data(), contents.size()) != static_cast<ssize_t>(contents.size())) {
        if (fd >= 0) close(fd);
        throw std::runtime_error("cannot write " + path);
    }
    close(fd);
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

void makeFolders(const std::string& path) {
    std::error_code error;
    fs::create_directories(path, error);
    if (error) throw std::runtime_error("cannot make " + path);
}

bool exists(const std::string& path) {
    std::error_code error;
    return fs::symlink_status(path, error).type() != fs::file_type::not_found && !error;
}

long filesUnder(const std::string& folder) {
    long count = 0;
    std::error_code error;
    for (fs::recursive_directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        if (it->is_regular_file(error)) ++count;
    }
    return count;
}

// Files with the browsers' own mode (0600 for Chromium's stores).
void restrictModes(const std::string& folder) {
    std::error_code error;
    for (fs::recursive_directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        if (it->is_regular_file(error)) chmod(it->path().c_str(), 0600);
    }
}

// A SQLite connection for building and checking the stores.
class Database {
public:
    explicit Database(const std::string& path) {
        if (sqlite3_open(path.c_str(), &db_) != SQLITE_OK) {
            std::string message = sqlite3_errmsg(db_);
            sqlite3_close(db_);
            throw std::runtime_error("cannot open " + path + ": " + message);
        }
    }
    ~Database() { sqlite3_close(db_); }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    void exec(const std::string& sql) {
        char* message = nullptr;
        if (sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, &message) != SQLITE_OK) {
            std::string text = message ? message : "?";
            sqlite3_free(message);
            throw std::runtime_error("SQL failed: " + text + " in " + sql.substr(0, 120));
        }
    }
    long count(const std::string& sql) {
        sqlite3_stmt* statement = nullptr;
        long value = -1;
        if (sqlite3_prepare_v2(db_, sql.c_str(), -1, &statement, nullptr) == SQLITE_OK &&
            sqlite3_step(statement) == SQLITE_ROW) {
            value = sqlite3_column_int64(statement, 0);
        }
        sqlite3_finalize(statement);
        return value;
    }
    // Runs a prepared statement once per row, binding what fill binds.
    void insertEach(const std::string& sql, int rows, const std::function<void(sqlite3_stmt*, int)>& fill) {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(db_, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
            throw std::runtime_error(std::string("cannot prepare: ") + sqlite3_errmsg(db_));
        }
        exec("BEGIN");
        for (int row = 0; row < rows; ++row) {
            sqlite3_reset(statement);
            sqlite3_clear_bindings(statement);
            fill(statement, row);
            if (sqlite3_step(statement) != SQLITE_DONE) {
                sqlite3_finalize(statement);
                throw std::runtime_error(std::string("cannot insert: ") + sqlite3_errmsg(db_));
            }
        }
        exec("COMMIT");
        sqlite3_finalize(statement);
    }

private:
    sqlite3* db_ = nullptr;
};

void bindText(sqlite3_stmt* statement, int index, const std::string& text) {
    sqlite3_bind_text(statement, index, text.c_str(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
}
void bindBlob(sqlite3_stmt* statement, int index, const std::string& bytes) {
    sqlite3_bind_blob(statement, index, bytes.data(), static_cast<int>(bytes.size()), SQLITE_TRANSIENT);
}

// ---------------------------------------------------------- child processes

struct ChildRun {
    double seconds = 0;
    long peakKilobytes = 0;
    std::string output;  // stdout and stderr together, for a failure's message
};

std::vector<std::string> environmentWithout(const std::vector<std::string>& prefixes,
                                            const std::vector<std::string>& added) {
    std::vector<std::string> kept;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        std::string variable = *entry;
        bool drop = std::any_of(prefixes.begin(), prefixes.end(),
                                [&](const std::string& prefix) { return variable.starts_with(prefix); });
        if (!drop) kept.push_back(variable);
    }
    kept.insert(kept.end(), added.begin(), added.end());
    return kept;
}

const std::vector<std::string> kSessionVariables = {"DBUS_SESSION_BUS_ADDRESS=", "DISPLAY=", "WAYLAND_DISPLAY=",
                                                    "XDG_CONFIG_HOME=", "XDG_CACHE_HOME=", "XDG_DATA_HOME=",
                                                    "HOME="};

void writeAll(int fd, const void* data, std::size_t size) {
    const char* bytes = static_cast<const char*>(data);
    while (size > 0) {
        ssize_t written = write(fd, bytes, size);
        if (written <= 0) throw std::runtime_error("launcher pipe closed");
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
}

// False at the end of the stream before any byte.
bool readAll(int fd, void* data, std::size_t size) {
    char* bytes = static_cast<char*>(data);
    std::size_t done = 0;
    while (done < size) {
        ssize_t got = read(fd, bytes + done, size - done);
        if (got <= 0) {
            if (done == 0) return false;
            throw std::runtime_error("launcher pipe closed");
        }
        done += static_cast<std::size_t>(got);
    }
    return true;
}

void writeStrings(int fd, const std::vector<std::string>& strings) {
    std::uint32_t count = static_cast<std::uint32_t>(strings.size());
    writeAll(fd, &count, sizeof count);
    for (const std::string& text : strings) {
        std::uint32_t size = static_cast<std::uint32_t>(text.size());
        writeAll(fd, &size, sizeof size);
        writeAll(fd, text.data(), size);
    }
}

bool readStrings(int fd, std::vector<std::string>& strings) {
    std::uint32_t count = 0;
    if (!readAll(fd, &count, sizeof count)) return false;
    strings.assign(count, {});
    for (std::string& text : strings) {
        std::uint32_t size = 0;
        readAll(fd, &size, sizeof size);
        text.resize(size);
        if (size > 0) readAll(fd, text.data(), size);
    }
    return true;
}

// Starts every timed program from a small process forked before the homes
// are built. At exec the kernel counts the starting image's high-water mark
// towards the new program's peak resident size, so a program started by the
// benchmark itself, grown by building the homes, would seem at least as big.
class Launcher {
public:
    struct Outcome {
        double seconds = 0;
        long peakKilobytes = 0;
        int status = 0;
        int spawnError = 0;
    };

    Launcher() {
        int requests[2], replies[2];
        if (pipe(requests) != 0 || pipe(replies) != 0) throw std::runtime_error("no pipe");
        pid_ = fork();
        if (pid_ < 0) throw std::runtime_error("cannot fork");
        if (pid_ == 0) {
            close(requests[1]);
            close(replies[0]);
            serve(requests[0], replies[1]);
            _exit(0);
        }
        close(requests[0]);
        close(replies[1]);
        requests_ = requests[1];
        replies_ = replies[0];
    }
    ~Launcher() {
        close(requests_);
        close(replies_);
        int status = 0;
        waitpid(pid_, &status, 0);
    }
    Launcher(const Launcher&) = delete;
    Launcher& operator=(const Launcher&) = delete;

    Outcome run(const std::vector<std::string>& command, const std::vector<std::string>& environment,
                const std::string& outputFile) {
        std::vector<std::string> request = {outputFile, std::to_string(command.size())};
        request.insert(request.end(), command.begin(), command.end());
        request.insert(request.end(), environment.begin(), environment.end());
        writeStrings(requests_, request);
        Outcome outcome;
        if (!readAll(replies_, &outcome, sizeof outcome)) throw std::runtime_error("the launcher is gone");
        return outcome;
    }

private:
    static void serve(int requests, int replies) {
        std::vector<std::string> request;
        while (readStrings(requests, request)) {
            std::size_t arguments = std::stoul(request[1]);
            std::vector<char*> argv, envp;
            for (std::size_t i = 2; i < 2 + arguments; ++i) argv.push_back(request[i].data());
            argv.push_back(nullptr);
            for (std::size_t i = 2 + arguments; i < request.size(); ++i) envp.push_back(request[i].data());
            envp.push_back(nullptr);
            posix_spawn_file_actions_t actions;
            posix_spawn_file_actions_init(&actions);
            posix_spawn_file_actions_addopen(&actions, 1, request[0].c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            posix_spawn_file_actions_adddup2(&actions, 1, 2);
            Outcome outcome;
            auto start = std::chrono::steady_clock::now();
            pid_t pid = 0;
            outcome.spawnError = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), envp.data());
            posix_spawn_file_actions_destroy(&actions);
            if (outcome.spawnError == 0) {
                rusage usage{};
                wait4(pid, &outcome.status, 0, &usage);
                outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
                outcome.peakKilobytes = usage.ru_maxrss;
            }
            writeAll(replies, &outcome, sizeof outcome);
        }
    }

    pid_t pid_ = -1;
    int requests_ = -1;
    int replies_ = -1;
};

Launcher* launcher = nullptr;  // made first thing in main

// Runs a program to its end and answers its wall time and peak resident size;
// its output goes to a file so that a failure can show it. Throws when it
// cannot start or exits with a status not in accepted.
ChildRun runProgram(const std::vector<std::string>& command, const std::vector<std::string>& environment,
                    const std::string& outputFile, std::vector<int> accepted = {0}) {
    Launcher::Outcome outcome = launcher->run(command, environment, outputFile);
    if (outcome.spawnError != 0) throw std::runtime_error("cannot start " + command.front());
    ChildRun run{outcome.seconds, outcome.peakKilobytes, readFile(outputFile)};
    int status = outcome.status;
    if (!WIFEXITED(status) || std::find(accepted.begin(), accepted.end(), WEXITSTATUS(status)) == accepted.end()) {
        throw std::runtime_error(command.front() + " failed (status " + std::to_string(status) + "): " +
                                 run.output.substr(0, 2000));
    }
    return run;
}

// Runs prepare, then work, in a forked child; only work is timed, and the
// peak size is the child's own.
ChildRun runForked(const std::function<void()>& work, const std::function<void()>& prepare = [] {}) {
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0) throw std::runtime_error("no pipe");
    pid_t child = fork();
    if (child < 0) throw std::runtime_error("cannot fork");
    if (child == 0) {
        close(pipeEnds[0]);
        int code = 0;
        auto start = std::chrono::steady_clock::now();
        try {
            prepare();
            start = std::chrono::steady_clock::now();
            work();
        } catch (const std::exception& failure) {
            std::fprintf(stderr, "linux_bench: %s\n", failure.what());
            code = 1;
        }
        double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        (void)!write(pipeEnds[1], &seconds, sizeof seconds);
        _exit(code);
    }
    close(pipeEnds[1]);
    ChildRun run;
    (void)!read(pipeEnds[0], &run.seconds, sizeof run.seconds);
    close(pipeEnds[0]);
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) throw std::runtime_error("a timed child failed");
    // A forked child starts as big as the benchmark: its peak says nothing of the work.
    run.peakKilobytes = -1;
    return run;
}

// A fresh copy of a built home, in a folder of its own.
std::unique_ptr<TemporaryFolder> copyOf(const std::string& master) {
    auto copy = std::make_unique<TemporaryFolder>("tasselby-linux-bench");
    runProgram({"cp", "-a", master + "/.", copy->path()}, environmentWithout({}, {}), copy->path() + ".cp.log");
    fs::remove(copy->path() + ".cp.log");
    return copy;
}

// Before the clock starts, both cookie contestants read the store once on a
// connection of their own: a child forked from the benchmark otherwise pays,
// inside its timed work, for the first touch of memory it shares with its
// parent, and the contestant that did more before the clock would pay less.
void warmUp(const std::string& path, const std::string& table) {
    sqlite3* db = nullptr;
    if (sqlite3_open(path.c_str(), &db) == SQLITE_OK) {
        sqlite3_exec(db, ("SELECT count(*), max(length(name)) FROM " + table + ";").c_str(), nullptr, nullptr, nullptr);
    }
    sqlite3_close(db);
}

// ---------------------------------------------------------------- a browser

// One browser's homes: how to build them, where its stores are, and how to
// tell that each contestant did its work.
class BrowserCase {
public:
    virtual ~BrowserCase() = default;
    virtual std::string name() const = 0;  // as the worker takes it
    virtual std::vector<std::string> bleachbitOptions() const = 0;
    virtual std::string cookieStore() const = 0;  // home-relative
    virtual std::string cookieTable() const = 0;
    virtual std::string cookieHostColumn() const = 0;
    // Whether the browser keeps its cookies in WAL mode (the worker then folds
    // the log back into the file after its deletion).
    virtual bool cookieStoreInWal() const { return false; }
    // The sites the worker keeps, read from the home's saved passwords.
    virtual std::vector<std::string> keptSites(const std::string& home) const = 0;
    // The folders the worker removes whole, home-relative.
    virtual std::vector<std::string> removedTrees() const = 0;
    // The stores a home that holds only those folders lacks, home-relative.
    virtual std::vector<std::string> storesBesideTrees() const = 0;
    // The saved-password stores, which must come out byte for byte the same.
    virtual std::vector<std::string> passwordStores() const = 0;
    // The user-data folder or profile list and the saved passwords.
    virtual void writeFrame(const std::string& home) const = 0;
    virtual void writeCookieStore(const std::string& home, int cookies) const = 0;
    // Every other store.
    virtual void writeStores(const std::string& home) const = 0;
    // Throws unless the worker's whole run did exactly its work.
    virtual void checkWorker(const std::string& home, int cookies) const = 0;
    // Throws unless BleachBit removed what its options name; answers what it left.
    virtual std::string checkBleachBit(const std::string& home) const = 0;

    std::string cookieFloor(int cookies) const {
        return cookieFloorStatement(cookies, cookieTable(), cookieHostColumn());
    }

    void checkCookies(const std::string& home, int cookies) const {
        Database db(home + "/" + cookieStore());
        long left = db.count("SELECT count(*) FROM " + cookieTable() + ";");
        long tracking = db.count("SELECT count(*) FROM " + cookieTable() + " WHERE name GLOB '__utm*';");
        if (left != survivingCookies(cookies) || tracking != 0) {
            throw std::runtime_error(name() + ": " + std::to_string(left) + " cookies left, " +
                                     std::to_string(survivingCookies(cookies)) + " expected, " +
                                     std::to_string(tracking) + " tracking");
        }
    }

    void checkTrees(const std::string& home) const {
        for (const std::string& tree : removedTrees()) {
            if (exists(home + "/" + tree)) throw std::runtime_error(name() + ": " + tree + " survived");
        }
    }

    void checkPasswords(const std::string& home, const std::string& master) const {
        for (const std::string& store : passwordStores()) {
            if (readFile(home + "/" + store) != readFile(master + "/" + store)) {
                throw std::runtime_error(name() + ": " + store + " changed");
            }
        }
    }
};

// ------------------------------------------------------------ Chromium

// The tables of a Chromium 156 profile, as the browser itself made them.
constexpr const char* kChromiumCookiesSchema = R"(
CREATE TABLE meta(key LONGVARCHAR NOT NULL UNIQUE PRIMARY KEY, value LONGVARCHAR);
CREATE TABLE cookies(creation_utc INTEGER NOT NULL,host_key TEXT NOT NULL,top_frame_site_key TEXT NOT NULL,name TEXT NOT NULL,value TEXT NOT NULL,encrypted_value BLOB NOT NULL,path TEXT NOT NULL,expires_utc INTEGER NOT NULL,is_secure INTEGER NOT NULL,is_httponly INTEGER NOT NULL,last_access_utc INTEGER NOT NULL,has_expires INTEGER NOT NULL,is_persistent INTEGER NOT NULL,priority INTEGER NOT NULL,samesite INTEGER NOT NULL,source_scheme INTEGER NOT NULL,source_port INTEGER NOT NULL,last_update_utc INTEGER NOT NULL,source_type INTEGER NOT NULL,has_cross_site_ancestor INTEGER NOT NULL);
CREATE UNIQUE INDEX cookies_unique_index ON cookies(host_key, top_frame_site_key, has_cross_site_ancestor, name, path, source_scheme, source_port);
INSERT INTO meta VALUES('mmap_status','-1'),('version','24'),('last_compatible_version','24');
)";

constexpr const char* kChromiumLoginDataSchema = R"(
CREATE TABLE meta(key LONGVARCHAR NOT NULL UNIQUE PRIMARY KEY, value LONGVARCHAR);
CREATE TABLE logins (origin_url VARCHAR NOT NULL, action_url VARCHAR, username_element VARCHAR, username_value VARCHAR, password_element VARCHAR, password_value BLOB, submit_element VARCHAR, signon_realm VARCHAR NOT NULL, date_created INTEGER NOT NULL, blacklisted_by_user INTEGER NOT NULL, scheme INTEGER NOT NULL, password_type INTEGER, times_used INTEGER, form_data BLOB, display_name VARCHAR, icon_url VARCHAR, federation_url VARCHAR, skip_zero_click INTEGER, generation_upload_status INTEGER, possible_username_pairs BLOB, id INTEGER PRIMARY KEY AUTOINCREMENT, date_last_used INTEGER NOT NULL DEFAULT 0, moving_blocked_for BLOB, date_password_modified INTEGER NOT NULL DEFAULT 0, sender_email VARCHAR, sender_name VARCHAR, date_received INTEGER, sharing_notification_displayed INTEGER NOT NULL DEFAULT 0, keychain_identifier BLOB, sender_profile_image_url VARCHAR, date_last_filled INTEGER NOT NULL DEFAULT 0, actor_login_approved INTEGER NOT NULL DEFAULT 0, UNIQUE (origin_url, username_element, username_value, password_element, signon_realm));
CREATE INDEX logins_signon ON logins (signon_realm);
CREATE TABLE sync_entities_metadata (storage_key INTEGER PRIMARY KEY AUTOINCREMENT, metadata VARCHAR NOT NULL);
CREATE TABLE sync_model_metadata (id INTEGER PRIMARY KEY AUTOINCREMENT, model_metadata VARCHAR NOT NULL);
CREATE TABLE insecure_credentials (parent_id INTEGER REFERENCES logins ON UPDATE CASCADE ON DELETE CASCADE DEFERRABLE INITIALLY DEFERRED, insecurity_type INTEGER NOT NULL, create_time INTEGER NOT NULL, is_muted INTEGER NOT NULL DEFAULT 0, trigger_notification_from_backend INTEGER NOT NULL DEFAULT 0, UNIQUE (parent_id, insecurity_type));
CREATE INDEX foreign_key_index ON insecure_credentials (parent_id);
CREATE TABLE password_notes (id INTEGER PRIMARY KEY AUTOINCREMENT, parent_id INTEGER NOT NULL REFERENCES logins ON UPDATE CASCADE ON DELETE CASCADE DEFERRABLE INITIALLY DEFERRED, key VARCHAR NOT NULL, value BLOB, date_created INTEGER NOT NULL, confidential INTEGER, UNIQUE (parent_id, key));
CREATE INDEX foreign_key_index_notes ON password_notes (parent_id);
CREATE TABLE stats (origin_domain VARCHAR NOT NULL, username_value VARCHAR, dismissal_count INTEGER, update_time INTEGER NOT NULL, UNIQUE(origin_domain, username_value));
CREATE INDEX stats_origin ON stats(origin_domain);
INSERT INTO meta VALUES('mmap_status','-1'),('version','43'),('last_compatible_version','40');
)";

constexpr const char* kChromiumQuotaSchema = R"(
CREATE TABLE meta(key LONGVARCHAR NOT NULL UNIQUE PRIMARY KEY, value LONGVARCHAR);
CREATE TABLE buckets(id INTEGER PRIMARY KEY AUTOINCREMENT, storage_key TEXT NOT NULL, host TEXT NOT NULL, name TEXT NOT NULL, use_count INTEGER NOT NULL, last_accessed INTEGER NOT NULL, last_modified INTEGER NOT NULL, expiration INTEGER NOT NULL, quota INTEGER NOT NULL, persistent INTEGER NOT NULL, durability INTEGER NOT NULL) STRICT;
CREATE UNIQUE INDEX buckets_by_storage_key ON buckets(storage_key, name);
CREATE INDEX buckets_by_host ON buckets(host);
CREATE INDEX buckets_by_last_accessed ON buckets(last_accessed);
CREATE INDEX buckets_by_last_modified ON buckets(last_modified);
CREATE INDEX buckets_by_expiration ON buckets(expiration);
INSERT INTO meta VALUES('mmap_status','-1'),('version','11'),('last_compatible_version','11'),('IsBucketsBootstrapped','1'),('IsMediaLicenseDatabaseRemoved','1');
)";

constexpr std::int64_t kChromiumNow = 13439870355769814;  // microseconds since 1601

std::string varint(std::uint64_t value) {
    std::string bytes;
    do {
        std::uint8_t byte = value & 0x7f;
        value >>= 7;
        bytes.push_back(static_cast<char>(value ? byte | 0x80 : byte));
    } while (value);
    return bytes;
}

std::string indexedDbFolder(int k) { return "https_" + hostName(k) + "_0.indexeddb.leveldb"; }

class ChromiumCase : public BrowserCase {
public:
    static constexpr const char* kUserData = ".config/chromium";
    static constexpr const char* kProfile = ".config/chromium/Default";
    static constexpr const char* kCache = ".cache/chromium/Default/Cache";

    std::string name() const override { return "Chromium"; }
    std::vector<std::string> bleachbitOptions() const override {
        return {"chromium.cookies", "chromium.cache", "chromium.dom"};
    }
    std::string cookieStore() const override { return std::string(kProfile) + "/Cookies"; }
    std::string cookieTable() const override { return "cookies"; }
    std::string cookieHostColumn() const override { return "host_key"; }
    std::vector<std::string> keptSites(const std::string& home) const override {
        std::set<std::string> sites;
        for (const std::string& store : passwordStores()) tasselby::LoginKeepList::addChromiumLogins(home + "/" + store, sites);
        return {sites.begin(), sites.end()};
    }
    std::vector<std::string> removedTrees() const override {
        std::vector<std::string> trees = {kCache};
        for (int k = 0; k < kIndexedDbSites; ++k) {
            if (!isKept(k)) trees.push_back(std::string(kProfile) + "/IndexedDB/" + indexedDbFolder(k));
        }
        return trees;
    }
    std::vector<std::string> storesBesideTrees() const override {
        return {cookieStore(), std::string(kProfile) + "/Local Storage", std::string(kProfile) + "/WebStorage"};
    }
    std::vector<std::string> passwordStores() const override {
        return {std::string(kProfile) + "/Login Data", std::string(kProfile) + "/Login Data For Account"};
    }

    void writeFrame(const std::string& home) const override {
        std::string profile = home + "/" + kProfile;
        makeFolders(profile);
        writeLocalState(home + "/" + kUserData + "/Local State");
        writeLogins(profile + "/Login Data", true);
        writeLogins(profile + "/Login Data For Account", false);
    }
    void writeCookieStore(const std::string& home, int cookies) const override {
        writeCookies(home + "/" + cookieStore(), cookies);
    }
    void writeStores(const std::string& home) const override {
        std::string profile = home + "/" + kProfile;
        writeLocalStorage(profile + "/Local Storage/leveldb");
        writeIndexedDb(profile + "/IndexedDB");
        writeQuota(profile + "/WebStorage");
        writeCache(home + "/" + kCache);
    }

    void checkWorker(const std::string& home, int cookies) const override {
        checkCookies(home, cookies);
        checkTrees(home);
        std::string profile = home + "/" + kProfile;
        for (int k = 0; k < kIndexedDbSites; ++k) {
            if (isKept(k) && !exists(profile + "/IndexedDB/" + indexedDbFolder(k))) {
                throw std::runtime_error("Chromium: kept IndexedDB of " + siteName(k) + " is gone");
            }
        }
        // Local storage: the kept origins' keys all there, no other origin's.
        std::set<int> metas;
        long values = 0;
        {
            leveldb::DB* raw = nullptr;
            leveldb::Options options;
            leveldb::Status status = leveldb::DB::Open(options, profile + "/Local Storage/leveldb", &raw);
            if (!status.ok()) throw std::runtime_error("Chromium: local storage: " + status.ToString());
            std::unique_ptr<leveldb::DB> db(raw);
            std::unique_ptr<leveldb::Iterator> it(db->NewIterator(leveldb::ReadOptions()));
            for (it->SeekToFirst(); it->Valid(); it->Next()) {
                std::string key = it->key().ToString();
                std::string origin;
                if (key.starts_with("META:")) origin = key.substr(5);
                if (key.starts_with("_")) origin = key.substr(1, key.find('\0') - 1);
                if (origin.empty()) continue;
                int k = std::stoi(origin.substr(std::strlen("https://www.site")));
                if (!isKept(k)) throw std::runtime_error("Chromium: local storage of " + origin + " survived");
                if (key.starts_with("META:")) metas.insert(k);
                if (key.starts_with("_")) ++values;
            }
        }
        if (metas.size() != kSites / 2 || values != kSites / 2 * kKeysPerOrigin) {
            throw std::runtime_error("Chromium: kept local storage lost keys");
        }
        Database quota(profile + "/WebStorage/QuotaManager");
        if (quota.count("SELECT count(*) FROM buckets;") != kSites / 2) {
            throw std::runtime_error("Chromium: quota rows not as expected");
        }
    }

    std::string checkBleachBit(const std::string& home) const override {
        std::string profile = home + "/" + kProfile;
        // Its "walk.all" empties a folder and leaves the folder itself.
        if (exists(profile + "/Cookies")) throw std::runtime_error("BleachBit left the cookies");
        if (filesUnder(profile + "/Local Storage/leveldb") != 0) throw std::runtime_error("BleachBit left local storage");
        long cacheFiles = filesUnder(home + "/.cache/chromium");
        if (cacheFiles != 0) throw std::runtime_error("BleachBit left " + std::to_string(cacheFiles) + " cache files");
        long indexedDb = 0;
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(profile + "/IndexedDB", error)) indexedDb += entry.is_directory();
        Database quota(profile + "/WebStorage/QuotaManager");
        return std::to_string(indexedDb) + " IndexedDB folders (no option names \"IndexedDB\"), " +
               std::to_string(quota.count("SELECT count(*) FROM buckets;")) +
               " quota rows, the empty cache folders";
    }

private:
    static void writeLocalState(const std::string& path) {
        nlohmann::json state;
        state["profile"]["info_cache"]["Default"] = {{"name", "Person 1"}, {"active_time", 1795396751.92},
                                                     {"is_using_default_name", true}};
        state["profile"]["last_used"] = "Default";
        writeFile(path, state.dump());
    }

    static void writeCookies(const std::string& path, int cookies) {
        Database db(path);
        db.exec(kChromiumCookiesSchema);
        db.insertEach("INSERT INTO cookies VALUES(?,?,'',?,'',?,'/',?,1,0,?,1,1,1,-1,2,443,?,0,0);", cookies,
                      [](sqlite3_stmt* statement, int i) {
                          CookieShape shape = cookieShape(i);
                          std::int64_t created = kChromiumNow - 1000000LL * i;
                          sqlite3_bind_int64(statement, 1, created);
                          bindText(statement, 2, shape.host);
                          bindText(statement, 3, shape.name);
                          bindBlob(statement, 4, "v10" + bytesOf(77, i));
                          sqlite3_bind_int64(statement, 5, created + 34560000000000LL);
                          sqlite3_bind_int64(statement, 6, created);
                          sqlite3_bind_int64(statement, 7, created);
                      });
    }

    // Saved passwords for every kept site, and "never save here" entries for
    // a few others; the account store has the same tables and no rows.
    static void writeLogins(const std::string& path, bool withRows) {
        Database db(path);
        db.exec(kChromiumLoginDataSchema);
        if (!withRows) return;
        db.insertEach(
            "INSERT INTO logins(origin_url, action_url, username_element, username_value, password_element, "
            "password_value, submit_element, signon_realm, date_created, blacklisted_by_user, scheme, "
            "password_type, times_used) VALUES(?,?,'email',?,'password',?,'',?,?,?,0,0,1);",
            kSites / 2 + kNeverSaveLogins, [](sqlite3_stmt* statement, int row) {
                bool neverSave = row >= kSites / 2;
                int k = neverSave ? 2 * (row - kSites / 2) + 1 : 2 * row;
                bindText(statement, 1, originOf(k) + "/login");
                bindText(statement, 2, neverSave ? "" : originOf(k) + "/session");
                bindText(statement, 3, neverSave ? "" : "user" + std::to_string(k) + "@example.org");
                bindBlob(statement, 4, neverSave ? "" : "v10" + bytesOf(29, k));
                bindText(statement, 5, originOf(k) + "/");
                sqlite3_bind_int64(statement, 6, kChromiumNow - 86400000000LL * row);
                sqlite3_bind_int(statement, 7, neverSave ? 1 : 0);
            });
    }

    static void writeLocalStorage(const std::string& folder) {
        makeFolders(folder);
        leveldb::DB* raw = nullptr;
        leveldb::Options options;
        options.create_if_missing = true;
        leveldb::Status status = leveldb::DB::Open(options, folder, &raw);
        if (!status.ok()) throw std::runtime_error("cannot make local storage: " + status.ToString());
        std::unique_ptr<leveldb::DB> db(raw);
        leveldb::WriteBatch batch;
        batch.Put("VERSION", "1");
        for (int k = 0; k < kSites; ++k) {
            std::string origin = originOf(k);
            std::uint64_t stamp = 13439870355769814ULL - 1000ULL * k;
            std::size_t size = 0;
            for (int key = 0; key < kKeysPerOrigin; ++key) {
                std::string value = "\x01" + bytesOf(96, k * 10 + key);
                size += value.size();
                batch.Put(std::string("_") + origin + std::string("\0\x01", 2) + "key" + std::to_string(key), value);
            }
            batch.Put("META:" + origin, "\x08" + varint(stamp) + "\x10" + varint(size));
            batch.Put("METAACCESS:" + origin, "\x08" + varint(stamp));
            if (k % 100 == 99) {
                db->Write(leveldb::WriteOptions(), &batch);
                batch.Clear();
            }
        }
        db->Write(leveldb::WriteOptions(), &batch);
        // A long-used store lies mostly in compacted tables.
        db->CompactRange(nullptr, nullptr);
        db.reset();
        restrictModes(folder);
    }

    // Folders the worker never opens: a few small files, as a LevelDB leaves them.
    static void writeIndexedDb(const std::string& folder) {
        for (int k = 0; k < kIndexedDbSites; ++k) {
            std::string database = folder + "/" + indexedDbFolder(k);
            makeFolders(database);
            writeFile(database + "/CURRENT", "MANIFEST-000001\n");
            writeFile(database + "/LOCK", "");
            writeFile(database + "/LOG", "2026/11/23-01:19:15.000 1 Delete type=3 #1\n");
            writeFile(database + "/MANIFEST-000001", bytesOf(57, k));
            writeFile(database + "/000003.log", bytesOf(4096, k));
        }
    }

    static void writeQuota(const std::string& folder) {
        makeFolders(folder);
        Database db(folder + "/QuotaManager");
        db.exec(kChromiumQuotaSchema);
        db.insertEach(
            "INSERT INTO buckets(storage_key, host, name, use_count, last_accessed, last_modified, expiration, "
            "quota, persistent, durability) VALUES(?,?,'_default',1,?,?,0,0,0,1);",
            kSites, [](sqlite3_stmt* statement, int k) {
                bindText(statement, 1, originOf(k) + "/");
                bindText(statement, 2, hostName(k));
                sqlite3_bind_int64(statement, 3, kChromiumNow - k);
                sqlite3_bind_int64(statement, 4, kChromiumNow - k);
            });
    }

    // The simple cache: one flat folder of entries, its index beside them.
    static void writeCache(const std::string& cache) {
        std::string data = cache + "/Cache_Data";
        makeFolders(data + "/index-dir");
        writeFile(data + "/index", bytesOf(24, 1));
        writeFile(data + "/index-dir/the-real-index", bytesOf(8192, 2));
        char name[32];
        for (int i = 0; i < kCacheFiles - 2; ++i) {
            int k = i % kSites;
            std::string key = "1/0/_dk_https://" + siteName(k) + " https://" + siteName(k) + " " + originOf(k) +
                              "/asset" + std::to_string(i) + ".js";
            std::string entry = bytesOf(24, i) + key;
            entry += bytesOf(kCacheEntrySize - std::min(kCacheEntrySize, entry.size()), i + 7);
            std::snprintf(name, sizeof name, "/%016llx_0", static_cast<unsigned long long>(scramble(i)));
            writeFile(data + name, entry);
        }
    }
};

// --------------------------------------------------------------- Firefox

constexpr const char* kFirefoxCookiesSchema = R"(
PRAGMA journal_mode = WAL;
PRAGMA user_version = 17;
CREATE TABLE moz_cookies (id INTEGER PRIMARY KEY, originAttributes TEXT NOT NULL DEFAULT '', name TEXT, value TEXT, host TEXT, path TEXT, expiry INTEGER, lastAccessed INTEGER, creationTime INTEGER, isSecure INTEGER, isHttpOnly INTEGER, inBrowserElement INTEGER DEFAULT 0, sameSite INTEGER DEFAULT 0, schemeMap INTEGER DEFAULT 0, isPartitionedAttributeSet INTEGER DEFAULT 0, updateTime INTEGER, CONSTRAINT moz_uniqueid UNIQUE (name, host, path, originAttributes));
)";

constexpr const char* kFirefoxQuotaSchema = R"(
CREATE TABLE database( cache_version INTEGER NOT NULL DEFAULT 0);
CREATE TABLE cache( valid INTEGER NOT NULL DEFAULT 0, build_id TEXT NOT NULL DEFAULT '');
CREATE TABLE repository( id INTEGER PRIMARY KEY, name TEXT NOT NULL);
CREATE TABLE origin( repository_id INTEGER NOT NULL, suffix TEXT, group_ TEXT NOT NULL, origin TEXT NOT NULL, client_usages TEXT NOT NULL, usage INTEGER NOT NULL, last_access_time INTEGER NOT NULL, last_maintenance_date INTEGER NOT NULL, accessed INTEGER NOT NULL, persisted INTEGER NOT NULL, PRIMARY KEY (repository_id, origin), FOREIGN KEY (repository_id) REFERENCES repository(id) );
INSERT INTO database VALUES(3);
INSERT INTO cache VALUES(1, '20261103151912');
INSERT INTO repository VALUES(0,'persistent'),(1,'temporary'),(2,'default'),(3,'private');
)";

constexpr const char* kFirefoxLocalStorageSchema = R"(
CREATE TABLE database( origin TEXT NOT NULL, usage INTEGER NOT NULL DEFAULT 0, last_vacuum_time INTEGER NOT NULL DEFAULT 0, last_analyze_time INTEGER NOT NULL DEFAULT 0, last_vacuum_size INTEGER NOT NULL DEFAULT 0);
CREATE TABLE data( key TEXT PRIMARY KEY, utf16_length INTEGER NOT NULL, conversion_type INTEGER NOT NULL, compression_type INTEGER NOT NULL, last_access_time INTEGER NOT NULL DEFAULT 0, value BLOB NOT NULL);
PRAGMA user_version = 80;
)";

constexpr const char* kFirefoxWebappsstoreSchema = R"(
PRAGMA journal_mode = WAL;
CREATE TABLE webappsstore2 (originAttributes TEXT, originKey TEXT, scope TEXT, key TEXT, value TEXT);
CREATE UNIQUE INDEX origin_key_index ON webappsstore2(originAttributes, originKey, key);
)";

constexpr std::int64_t kFirefoxNow = 1795396785535002;  // microseconds since 1970

std::string storageFolder(int k) { return "https+++" + hostName(k); }

// ".metadata-v2": the time, flags, then the suffix, group and origin, each
// with its length.
std::string originMetadata(int k) {
    auto text = [](const std::string& value) {
        std::string bytes(4, '\0');
        std::uint32_t size = static_cast<std::uint32_t>(value.size());
        for (int b = 0; b < 4; ++b) bytes[b] = static_cast<char>(size >> (8 * (3 - b)));
        return bytes + value;
    };
    return bytesOf(8, k) + std::string(4, '\0') + std::string("\x03\x00\x00\x51", 4) + text("") +
           text(siteName(k)) + text(originOf(k)) + std::string("\x00\xab\xcd\x12\x34\x00\x00\x00\x01", 9);
}

class FirefoxCase : public BrowserCase {
public:
    static constexpr const char* kRoot = ".mozilla/firefox";
    static constexpr const char* kProfile = ".mozilla/firefox/bench.default-release";
    static constexpr const char* kCache = ".cache/mozilla/firefox/bench.default-release";

    std::string name() const override { return "Firefox"; }
    std::vector<std::string> bleachbitOptions() const override {
        return {"firefox.cookies", "firefox.cache", "firefox.dom"};
    }
    std::string cookieStore() const override { return std::string(kProfile) + "/cookies.sqlite"; }
    std::string cookieTable() const override { return "moz_cookies"; }
    std::string cookieHostColumn() const override { return "host"; }
    bool cookieStoreInWal() const override { return true; }
    std::vector<std::string> keptSites(const std::string& home) const override {
        std::set<std::string> sites;
        tasselby::LoginKeepList::addFirefoxLoginsJson(readFile(home + "/" + passwordStores().front()), sites);
        return {sites.begin(), sites.end()};
    }
    std::vector<std::string> removedTrees() const override {
        // The cache folder itself stays: its cache2, startupCache and thumbnails go.
        std::vector<std::string> trees = {std::string(kCache) + "/cache2"};
        for (int k = 0; k < kSites; ++k) {
            if (!isKept(k)) trees.push_back(std::string(kProfile) + "/storage/default/" + storageFolder(k));
        }
        return trees;
    }
    std::vector<std::string> storesBesideTrees() const override {
        return {cookieStore(), std::string(kProfile) + "/storage.sqlite",
                std::string(kProfile) + "/webappsstore.sqlite"};
    }
    std::vector<std::string> passwordStores() const override { return {std::string(kProfile) + "/logins.json"}; }

    void writeFrame(const std::string& home) const override {
        std::string profile = home + "/" + kProfile;
        makeFolders(profile);
        writeFile(home + "/" + kRoot + "/profiles.ini",
                  "[Profile0]\nName=default-release\nIsRelative=1\nPath=bench.default-release\nDefault=1\n\n"
                  "[General]\nStartWithLastProfile=1\nVersion=2\n",
                  0644);
        writeLogins(profile + "/logins.json");
    }
    void writeCookieStore(const std::string& home, int cookies) const override {
        writeCookies(home + "/" + cookieStore(), cookies);
    }
    void writeStores(const std::string& home) const override {
        std::string profile = home + "/" + kProfile;
        writeStorage(profile);
        {
            Database store(profile + "/webappsstore.sqlite");
            store.exec(kFirefoxWebappsstoreSchema);
        }
        writeCache(home + "/" + kCache + "/cache2");
    }

    void checkWorker(const std::string& home, int cookies) const override {
        checkCookies(home, cookies);
        checkTrees(home);
        std::string profile = home + "/" + kProfile;
        for (int k = 0; k < kSites; ++k) {
            if (isKept(k) && !exists(profile + "/storage/default/" + storageFolder(k) + "/ls/data.sqlite")) {
                throw std::runtime_error("Firefox: kept storage of " + siteName(k) + " is gone");
            }
        }
        Database quota(profile + "/storage.sqlite");
        if (quota.count("SELECT count(*) FROM origin;") != kSites / 2) {
            throw std::runtime_error("Firefox: storage.sqlite rows not as expected");
        }
    }

    std::string checkBleachBit(const std::string& home) const override {
        std::string profile = home + "/" + kProfile;
        for (const char* gone : {"/cookies.sqlite", "/webappsstore.sqlite"}) {
            if (exists(profile + gone)) throw std::runtime_error(std::string("BleachBit left ") + gone);
        }
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(profile + "/storage/default", error)) {
            throw std::runtime_error("BleachBit left " + entry.path().string());
        }
        if (exists(home + "/.cache/mozilla/firefox")) throw std::runtime_error("BleachBit left the cache");
        Database quota(profile + "/storage.sqlite");
        return std::to_string(quota.count("SELECT count(*) FROM origin;")) + " storage.sqlite rows";
    }

private:
    static void writeCookies(const std::string& path, int cookies) {
        Database db(path);
        db.exec(kFirefoxCookiesSchema);
        db.insertEach(
            "INSERT INTO moz_cookies(originAttributes, name, value, host, path, expiry, lastAccessed, creationTime, "
            "isSecure, isHttpOnly, inBrowserElement, sameSite, schemeMap, isPartitionedAttributeSet, updateTime) "
            "VALUES('',?,?,?,'/',?,?,?,1,0,0,256,2,0,?);",
            cookies, [](sqlite3_stmt* statement, int i) {
                CookieShape shape = cookieShape(i);
                std::int64_t created = kFirefoxNow - 1000000LL * i;
                bindText(statement, 1, shape.name);
                std::string value = bytesOf(24, i);
                std::string hex;
                for (unsigned char c : value) hex += "0123456789abcdef"[c >> 4], hex += "0123456789abcdef"[c & 15];
                bindText(statement, 2, hex);
                bindText(statement, 3, shape.host);
                sqlite3_bind_int64(statement, 4, created / 1000 + 34560000000LL);
                sqlite3_bind_int64(statement, 5, created);
                sqlite3_bind_int64(statement, 6, created);
                sqlite3_bind_int64(statement, 7, created);
            });
    }

    static void writeLogins(const std::string& path) {
        nlohmann::json logins = nlohmann::json::array();
        for (int k = 0; k < kSites; k += 2) {
            logins.push_back({{"id", k / 2 + 1},
                              {"hostname", originOf(k)},
                              {"httpRealm", nullptr},
                              {"formSubmitURL", originOf(k)},
                              {"usernameField", "email"},
                              {"passwordField", "password"},
                              {"encryptedUsername", "MEIEEPgAAAAAAAAAAAAAAAAAAAEwFAYIKoZIhvcNAwcECL" + std::to_string(k)},
                              {"encryptedPassword", "MEIEEPgAAAAAAAAAAAAAAAAAAAEwFAYIKoZIhvcNAwcECM" + std::to_string(k)},
                              {"guid", "{" + std::to_string(scramble(k)) + "}"},
                              {"encType", 1},
                              {"timeCreated", 1795396785535 - k},
                              {"timeLastUsed", 1795396785535 - k},
                              {"timePasswordChanged", 1795396785535 - k},
                              {"timesUsed", 1},
                              {"syncCounter", 1},
                              {"everSynced", false},
                              {"encryptedUnknownFields", nullptr}});
        }
        nlohmann::json file = {{"nextId", kSites / 2 + 1},
                               {"logins", logins},
                               {"potentiallyVulnerablePasswords", nlohmann::json::array()},
                               {"dismissedBreachAlertsByLoginGUID", nlohmann::json::object()},
                               {"version", 3}};
        writeFile(path, file.dump());
    }

    // One folder per origin under storage/default (local storage in every one,
    // IndexedDB in the first 500), and the quota cache's row for each.
    static void writeStorage(const std::string& profile) {
        std::string base = profile + "/storage/default";
        makeFolders(profile + "/storage/permanent/chrome/idb");
        makeFolders(profile + "/storage/temporary");
        for (int k = 0; k < kSites; ++k) {
            std::string folder = base + "/" + storageFolder(k);
            makeFolders(folder + "/ls");
            writeFile(folder + "/.metadata-v2", originMetadata(k), 0644);
            {
                Database ls(folder + "/ls/data.sqlite");
                ls.exec(kFirefoxLocalStorageSchema);
                ls.exec("INSERT INTO database(origin, usage) VALUES('" + originOf(k) + "', 600);");
                ls.insertEach("INSERT INTO data VALUES(?, 96, 1, 0, 0, ?);", kKeysPerOrigin,
                              [k](sqlite3_stmt* statement, int key) {
                                  bindText(statement, 1, "key" + std::to_string(key));
                                  bindBlob(statement, 2, bytesOf(96, k * 10 + key));
                              });
            }
            writeFile(folder + "/ls/usage", std::string("\x42\x0a\x42\x0a\x00\x00\x00\x00\x00\x00\x02\x58", 12), 0644);
            if (k < kIndexedDbSites) {
                std::string idb = folder + "/idb";
                makeFolders(idb + "/3870112724rsegmnoittet-es.files");
                writeFile(idb + "/3870112724rsegmnoittet-es.sqlite", bytesOf(49152, k), 0644);
            }
        }
        Database quota(profile + "/storage.sqlite");
        quota.exec(kFirefoxQuotaSchema);
        quota.insertEach("INSERT INTO origin VALUES(2, '', ?, ?, ?, ?, ?, 0, 1, 0);", kSites,
                         [](sqlite3_stmt* statement, int k) {
                             bindText(statement, 1, siteName(k));
                             bindText(statement, 2, originOf(k));
                             bindText(statement, 3, k < kIndexedDbSites ? "I49152 L600" : "L600");
                             sqlite3_bind_int64(statement, 4, k < kIndexedDbSites ? 49752 : 600);
                             sqlite3_bind_int64(statement, 5, kFirefoxNow - k);
                         });
    }

    // cache2: entries named by the key's SHA-1, the key in the metadata at the end.
    static void writeCache(const std::string& cache2) {
        makeFolders(cache2 + "/entries");
        makeFolders(cache2 + "/doomed");
        writeFile(cache2 + "/index", bytesOf(4096, 3), 0644);
        char name[64];
        for (int i = 0; i < kCacheFiles - 1; ++i) {
            int k = i % kSites;
            std::string key = "O^partitionKey=%28https%2C" + siteName(k) + "%29,:" + originOf(k) + "/asset" +
                              std::to_string(i) + ".js";
            std::string body = bytesOf(kCacheEntrySize - std::min<std::size_t>(kCacheEntrySize, key.size() + 40), i);
            std::uint32_t offset = static_cast<std::uint32_t>(body.size());
            std::string entry = body + bytesOf(32, i + 1) + key + std::string(4, '\0');
            for (int b = 0; b < 4; ++b) entry.push_back(static_cast<char>(offset >> (8 * (3 - b))));
            std::snprintf(name, sizeof name, "/entries/%016llX%016llX%08X",
                          static_cast<unsigned long long>(scramble(i)),
                          static_cast<unsigned long long>(scramble(i + 1000000)), static_cast<unsigned>(i));
            writeFile(cache2 + name, entry, 0644);
        }
    }
};

// ------------------------------------------------------------- measuring

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}
long median(std::vector<long> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

struct Series {
    std::vector<double> seconds;
    std::vector<long> peaks;
    void add(const ChildRun& run) {
        seconds.push_back(run.seconds);
        peaks.push_back(run.peakKilobytes);
    }
    double time() const { return median(seconds); }
    long peak() const { return median(peaks); }
};

struct SizeResult {
    int cookies = 0;
    Series worker, bleachbit, cookieFloor, workerCookies, removalFloor, workerRemoval;
    std::string bleachbitLeft;
};

class Bench {
public:
    explicit Bench(const BrowserCase& browser) : browser_(browser) {}

    SizeResult measure(int cookies) {
        // Three homes, copied afresh for every run: the whole home; the saved
        // passwords and the cookies alone; and the whole home less the stores
        // the worker edits in place.
        TemporaryFolder whole("tasselby-linux-bench-whole");
        TemporaryFolder cookiesOnly("tasselby-linux-bench-cookies");
        TemporaryFolder treesOnly("tasselby-linux-bench-trees");
        auto started = std::chrono::steady_clock::now();
        for (const TemporaryFolder* home : {&whole, &cookiesOnly}) {
            browser_.writeFrame(home->path());
            browser_.writeCookieStore(home->path(), cookies);
        }
        browser_.writeStores(whole.path());
        runProgram({"cp", "-a", whole.path() + "/.", treesOnly.path()}, environmentWithout({}, {}),
                   treesOnly.path() + ".log");
        fs::remove(treesOnly.path() + ".log");
        for (const std::string& store : browser_.storesBesideTrees()) fs::remove_all(treesOnly / store);
        std::printf("  built the %d-cookie homes in %.1f s\n", cookies,
                    std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count());

        SizeResult result;
        result.cookies = cookies;
        std::vector<std::function<void()>> contestants = {
            [&] { result.worker.add(runWorkerWhole(whole.path(), cookies)); },
            [&] { result.bleachbit.add(runBleachBit(whole.path(), result.bleachbitLeft)); },
            // The cookie runs are short and their homes small: more of them
            // steady the median.
            [&] {
                for (int repeat = 0; repeat < kCookieRepeats; ++repeat) {
                    result.cookieFloor.add(runCookieFloor(cookiesOnly.path(), cookies));
                }
            },
            [&] {
                for (int repeat = 0; repeat < kCookieRepeats; ++repeat) {
                    result.workerCookies.add(runWorkerCookies(cookiesOnly.path(), cookies));
                }
            },
            [&] { result.removalFloor.add(runRemovalFloor(treesOnly.path())); },
            [&] { result.workerRemoval.add(runWorkerRemoval(treesOnly.path())); },
        };
        for (int round = 0; round < kRounds; ++round) {
            for (std::size_t turn = 0; turn < contestants.size(); ++turn) {
                contestants[(turn + round) % contestants.size()]();
            }
        }
        return result;
    }

private:
    std::string workerBinary() const { return TASSELBY_WORKER; }

    // HOME names the copy too, so that nothing the worker might read from the
    // environment leads it out of the copy.
    ChildRun runWorker(const std::string& home) const {
        return runProgram({workerBinary(), "--layout=linux", "--home=" + home, browser_.name()},
                          environmentWithout(kSessionVariables, {"HOME=" + home}), home + ".worker.log");
    }

    ChildRun runWorkerWhole(const std::string& master, int cookies) const {
        auto copy = copyOf(master);
        ChildRun run = runWorker(copy->path());
        browser_.checkWorker(copy->path(), cookies);
        browser_.checkPasswords(copy->path(), master);
        fs::remove(copy->path() + ".worker.log");
        return run;
    }

    ChildRun runBleachBit(const std::string& master, std::string& left) const {
        auto copy = copyOf(master);
        std::vector<std::string> command = {"bleachbit", "--clean"};
        for (const std::string& option : browser_.bleachbitOptions()) command.push_back(option);
        ChildRun run = runProgram(command, environmentWithout(kSessionVariables, {"HOME=" + copy->path()}),
                                  copy->path() + ".bleachbit.log");
        left = browser_.checkBleachBit(copy->path());
        fs::remove(copy->path() + ".bleachbit.log");
        return run;
    }

    ChildRun runCookieFloor(const std::string& master, int cookies) const {
        auto copy = copyOf(master);
        std::string path = copy->path() + "/" + browser_.cookieStore();
        std::string statement = browser_.cookieFloor(cookies);
        ChildRun run = runForked(
            [&] {
            sqlite3* db = nullptr;
            if (sqlite3_open(path.c_str(), &db) != SQLITE_OK ||
                sqlite3_exec(db, statement.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
                throw std::runtime_error(std::string("floor: ") + sqlite3_errmsg(db));
            }
            sqlite3_close(db);
            },
            [&] { warmUp(path, browser_.cookieTable()); });
        browser_.checkCookies(copy->path(), cookies);
        return run;
    }

    // The worker's cookie step, timed alone: the cleaner the worker runs on
    // each cookie file, given the keep set and catalogue the worker builds
    // (built before the clock starts).
    ChildRun runWorkerCookies(const std::string& cookiesOnly, int cookies) const {
        auto copy = copyOf(cookiesOnly);
        std::string path = copy->path() + "/" + browser_.cookieStore();
        std::string table = browser_.cookieTable();
        std::string hostColumn = browser_.cookieHostColumn();
        std::vector<std::string> sites, catalogue;
        std::unique_ptr<tasselby::KeepSet> keep;
        std::unique_ptr<tasselby::CookieTableCleaner> cleaner;
        tasselby::CookieTableCleaner::Counts counts;
        ChildRun run = runForked(
            [&] {
                if (cleaner->clean(path, false, false, &counts) != tasselby::CookieTableCleaner::Outcome::Done) {
                    throw std::runtime_error("the worker's cookie step failed");
                }
            },
            [&] {
                warmUp(path, table);
                sites = browser_.keptSites(copy->path());
                keep = std::make_unique<tasselby::KeepSet>(sites);
                tasselby::FakePlatform platform(copy->path());
                catalogue = tasselby::WorkerAppDelegate(platform).defaultTrackingCookies();
                cleaner = std::make_unique<tasselby::CookieTableCleaner>(
                    tasselby::CookieTable{table.c_str(), hostColumn.c_str(), "name", browser_.cookieStoreInWal()},
                    [&](std::string_view host) {
                        return keep->contains(tasselby::WorkerExtras::siteWithDomainName(std::string(host)));
                    },
                    catalogue);
            });
        browser_.checkCookies(copy->path(), cookies);
        return run;
    }

    ChildRun runRemovalFloor(const std::string& treesOnly) const {
        auto copy = copyOf(treesOnly);
        std::vector<std::string> command = {"rm", "-rf", "--"};
        for (const std::string& tree : browser_.removedTrees()) command.push_back(copy->path() + "/" + tree);
        ChildRun run = runProgram(command, environmentWithout({}, {}), copy->path() + ".rm.log");
        browser_.checkTrees(copy->path());
        fs::remove(copy->path() + ".rm.log");
        return run;
    }

    ChildRun runWorkerRemoval(const std::string& treesOnly) const {
        auto copy = copyOf(treesOnly);
        ChildRun run = runWorker(copy->path());
        browser_.checkTrees(copy->path());
        fs::remove(copy->path() + ".worker.log");
        return run;
    }

    const BrowserCase& browser_;
};

const char* verdict(bool met) { return met ? "met" : "MISSED"; }

// Prints the table of one browser; answers whether every goal was met.
bool report(const BrowserCase& browser, const SizeResult& large, const SizeResult& small) {
    std::printf("\n%s: %d sites (half with saved passwords), %d local-storage origins, %d with IndexedDB, "
                "%d cache files; median of %d interleaved rounds\n",
                browser.name().c_str(), kSites, kSites, kIndexedDbSites, kCacheFiles, kRounds);
    std::printf("  %-44s %12s %12s %12s %12s\n", "", "20,000 ck s", "peak KiB", "2,000 ck s", "peak KiB");
    auto peak = [](const Series& series) {
        return series.peak() < 0 ? std::string("-") : std::to_string(series.peak());
    };
    auto row = [&](const char* label, const Series& a, const Series& b) {
        std::printf("  %-44s %12.3f %12s %12.3f %12s\n", label, a.time(), peak(a).c_str(), b.time(), peak(b).c_str());
    };
    row("worker --layout=linux, whole run (keeps half)", large.worker, small.worker);
    row("BleachBit, whole run (removes all)", large.bleachbit, small.bleachbit);
    row("worker's cookie step alone (in process)", large.workerCookies, small.workerCookies);
    row("floor: one SQLite DELETE of the same rows", large.cookieFloor, small.cookieFloor);
    row("worker on the folders it removes whole", large.workerRemoval, small.workerRemoval);
    row("floor: rm -rf of the same folders", large.removalFloor, small.removalFloor);
    std::printf("  BleachBit's options left: %s\n", large.bleachbitLeft.c_str());

    bool all = true;
    auto goal = [&](const char* what, double value, double limit, const char* unit) {
        bool met = value <= limit;
        all = all && met;
        std::printf("  %-44s %8.2f%s (goal <= %.2f%s) %s\n", what, value, unit, limit, unit, verdict(met));
    };
    for (const SizeResult* size : {&large, &small}) {
        std::string cookies = std::to_string(size->cookies) + " cookies";
        goal(("whole run / BleachBit, " + cookies).c_str(), size->worker.time() / size->bleachbit.time(),
             kWholeRunGoal, "x");
        goal(("cookie step / SQLite DELETE, " + cookies).c_str(),
             size->workerCookies.time() / size->cookieFloor.time(), kCookieGoal, "x");
        goal(("removal / rm -rf, " + cookies).c_str(), size->workerRemoval.time() / size->removalFloor.time(),
             kRemovalGoal, "x");
    }
    double growth = static_cast<double>(large.worker.peak() - small.worker.peak()) / small.worker.peak();
    goal("peak memory, 20,000 against 2,000 cookies", 100 * growth, 100 * kMemoryGoal, "%");
    return all;
}

}  // namespace

int main(int argc, char* argv[]) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    Launcher programs;
    launcher = &programs;
    std::vector<std::string> wanted(argv + 1, argv + argc);
    if (wanted.empty()) wanted = {"chromium", "firefox"};
    ChromiumCase chromium;
    FirefoxCase firefox;
    std::string scratch = fs::temp_directory_path() / ("tasselby-linux-bench-" + std::to_string(getpid()));
    try {
        ChildRun smallest = runProgram({"true"}, environmentWithout({}, {}), scratch);
        ChildRun version = runProgram({"dpkg-query", "-W", "-f=${Version}", "bleachbit"}, environmentWithout({}, {}), scratch);
        fs::remove(scratch);
        std::printf("SQLite %s, BleachBit %s, temporary folder %s; a program started here peaks at %ld KiB or more\n",
                    sqlite3_libversion(), version.output.c_str(), fs::temp_directory_path().c_str(),
                    smallest.peakKilobytes);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "linux_bench: %s\n", failure.what());
        return 1;
    }
    bool all = true;
    try {
        for (const std::string& which : wanted) {
            const BrowserCase* browser = which == "chromium"  ? static_cast<const BrowserCase*>(&chromium)
                                         : which == "firefox" ? static_cast<const BrowserCase*>(&firefox)
                                                              : nullptr;
            if (browser == nullptr) {
                std::fprintf(stderr, "usage: linux_bench [chromium] [firefox]\n");
                return 64;
            }
            std::printf("%s:\n", browser->name().c_str());
            Bench bench(*browser);
            SizeResult large = bench.measure(kLargeCookies);
            SizeResult small = bench.measure(kSmallCookies);
            all = report(*browser, large, small) && all;
        }
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "linux_bench: %s\n", failure.what());
        return 1;
    }
    return all ? 0 : 2;
}
