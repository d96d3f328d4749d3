#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace leveldb {
class DB;
class Logger;
}  // namespace leveldb

namespace tasselby {

// One LevelDB store of a browser (the standard bytewise key order only),
// opened either for editing in place or, for a dry run, as a private copy.
// Destruction closes it.
//
// Editing in place takes the store's LOCK, and opening fails at once when
// another process holds it: a store a running browser uses is never written
// and never waited for. The library writes new files with its own modes;
// after closing, every file is given back the mode the store had (files
// that were there keep theirs, new ones get the mode of "CURRENT"), so a
// browser's 0600 stays 0600.
class LevelDb {
public:
    enum class Status {
        Opened,
        Missing,     // no LevelDB at the folder ("CURRENT" is missing)
        Locked,      // another process holds its LOCK
        Unreadable,  // damaged, another key order, or not a LevelDB
    };

    // Opens the store at folder for editing; nothing (and the reason in
    // *status) when it cannot be opened. Never creates a store.
    static std::unique_ptr<LevelDb> openForEditing(const std::string& folder, Status* status);
    // Opens a private copy of the store: the store's own files are only read.
    static std::unique_ptr<LevelDb> openCopy(const std::string& folder, Status* status);
    // Whether another process holds the store's LOCK now; asks without taking it.
    static bool lockHeld(const std::string& folder);

    ~LevelDb();
    LevelDb(const LevelDb&) = delete;
    LevelDb& operator=(const LevelDb&) = delete;

    // The value of a key; nothing when it is not there or cannot be read.
    std::optional<std::string> get(const std::string& key) const;
    // Visits every entry from the first key at or after start, in key order,
    // until visit answers false. False when reading failed on the way.
    bool scan(const std::string& start,
              const std::function<bool(std::string_view key, std::string_view value)>& visit) const;
    // Deletes the keys in one synced write batch; with compact, the key
    // range they span is then compacted, so that the deleted values leave
    // the store's tables. False when the write failed (nothing was deleted).
    bool remove(const std::vector<std::string>& keys, bool compact);

private:
    LevelDb();
    static std::unique_ptr<LevelDb> open(const std::string& folder, Status* status);
    void restoreModes();

    std::string folder_;
    std::string copyFolder_;              // the private copy's folder, removed on close
    std::map<std::string, unsigned> modes_;  // file name -> mode before opening
    unsigned storeMode_ = 0600;
    std::unique_ptr<leveldb::Logger> logger_;
    std::unique_ptr<leveldb::DB> db_;
};

}  // namespace tasselby
