#include "storage/level_db.h"

#include <fcntl.h>
#include <leveldb/db.h>
#include <leveldb/env.h>
#include <leveldb/write_batch.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace tasselby {

namespace {

namespace fs = std::filesystem;

constexpr const char* kCurrentFile = "CURRENT";
constexpr const char* kLockFile = "LOCK";
constexpr const char* kCopyTemplate = "tasselby-leveldb-XXXXXX";
constexpr unsigned kPermissionBits = 07777;

// The library's own log would otherwise appear in (and rotate through) the
// browser's store; nothing of ours belongs there.
class SilentLogger : public leveldb::Logger {
public:
    void Logv(const char*, std::va_list) override {}
};

std::optional<unsigned> modeOf(const std::string& path) {
    struct stat st {};
    if (lstat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return std::nullopt;
    return static_cast<unsigned>(st.st_mode) & kPermissionBits;
}

bool isLockBusy(const leveldb::Status& status) {
    // The library reports a held LOCK as an I/O error on the LOCK file.
    return status.IsIOError() && status.ToString().find(kLockFile) != std::string::npos;
}

}  // namespace

std::unique_ptr<LevelDb> LevelDb::open(const std::string& folder, Status* status) {
    *status = Status::Missing;
    if (!modeOf(folder + "/" + kCurrentFile)) return nullptr;
    auto store = std::unique_ptr<LevelDb>(new LevelDb());
    store->folder_ = folder;
    store->logger_ = std::make_unique<SilentLogger>();
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
        if (std::optional<unsigned> mode = modeOf(entry.path().string())) {
            store->modes_[entry.path().filename().string()] = *mode;
        }
    }
    store->storeMode_ = store->modes_.count(kCurrentFile) ? store->modes_[kCurrentFile] : 0600;

    leveldb::Options options;
    options.create_if_missing = false;
    options.paranoid_checks = true;
    options.info_log = store->logger_.get();
    leveldb::DB* raw = nullptr;
    leveldb::Status opened = leveldb::DB::Open(options, folder, &raw);
    if (!opened.ok()) {
        *status = isLockBusy(opened) ? Status::Locked : Status::Unreadable;
        // Even a failed open may have made files (a LOCK, a log).
        store->restoreModes();
        store->folder_.clear();
        return nullptr;
    }
    store->db_.reset(raw);
    *status = Status::Opened;
    return store;
}

std::unique_ptr<LevelDb> LevelDb::openForEditing(const std::string& folder, Status* status) {
    return open(folder, status);
}

std::unique_ptr<LevelDb> LevelDb::openCopy(const std::string& folder, Status* status) {
    *status = Status::Missing;
    if (!modeOf(folder + "/" + kCurrentFile)) return nullptr;
    std::error_code error;
    std::string pattern = (fs::temp_directory_path(error) / kCopyTemplate).string();
    if (error || mkdtemp(pattern.data()) == nullptr) {
        *status = Status::Unreadable;
        return nullptr;
    }
    bool copied = true;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
        const std::string name = entry.path().filename().string();
        if (name == kLockFile || !modeOf(entry.path().string())) continue;
        copied = fs::copy_file(entry.path(), fs::path(pattern) / name, error) && copied;
    }
    std::unique_ptr<LevelDb> store = copied && !error ? open(pattern, status) : nullptr;
    if (!store) {
        if (*status == Status::Opened || *status == Status::Missing) *status = Status::Unreadable;
        fs::remove_all(pattern, error);
        return nullptr;
    }
    store->copyFolder_ = pattern;
    return store;
}

bool LevelDb::lockHeld(const std::string& folder) {
    int fd = ::open((folder + "/" + kLockFile).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0) return false;
    struct flock probe {};
    probe.l_type = F_WRLCK;
    probe.l_whence = SEEK_SET;
    bool held = fcntl(fd, F_GETLK, &probe) == 0 && probe.l_type != F_UNLCK;
    ::close(fd);
    return held;
}

LevelDb::LevelDb() = default;

LevelDb::~LevelDb() {
    db_.reset();
    if (!copyFolder_.empty()) {
        std::error_code error;
        fs::remove_all(copyFolder_, error);
        return;
    }
    restoreModes();
}

void LevelDb::restoreModes() {
    if (folder_.empty()) return;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder_, error)) {
        const std::string path = entry.path().string();
        std::optional<unsigned> mode = modeOf(path);
        if (!mode) continue;
        auto original = modes_.find(entry.path().filename().string());
        unsigned wanted = original != modes_.end() ? original->second : storeMode_;
        if (*mode != wanted) chmod(path.c_str(), wanted);
    }
}

std::optional<std::string> LevelDb::get(const std::string& key) const {
    std::string value;
    if (!db_->Get(leveldb::ReadOptions(), key, &value).ok()) return std::nullopt;
    return value;
}

bool LevelDb::scan(const std::string& start,
                   const std::function<bool(std::string_view key, std::string_view value)>& visit) const {
    leveldb::ReadOptions options;
    options.verify_checksums = true;
    options.fill_cache = false;
    std::unique_ptr<leveldb::Iterator> it(db_->NewIterator(options));
    for (it->Seek(start); it->Valid(); it->Next()) {
        leveldb::Slice key = it->key();
        leveldb::Slice value = it->value();
        if (!visit(std::string_view(key.data(), key.size()), std::string_view(value.data(), value.size()))) break;
    }
    return it->status().ok();
}

bool LevelDb::remove(const std::vector<std::string>& keys, bool compact) {
    if (keys.empty()) return true;
    leveldb::WriteBatch batch;
    for (const std::string& key : keys) batch.Delete(key);
    leveldb::WriteOptions options;
    options.sync = true;
    if (!db_->Write(options, &batch).ok()) return false;
    if (compact) {
        auto [low, high] = std::minmax_element(keys.begin(), keys.end());
        leveldb::Slice begin(*low);
        leveldb::Slice end(*high);
        db_->CompactRange(&begin, &end);
    }
    return true;
}

}  // namespace tasselby
