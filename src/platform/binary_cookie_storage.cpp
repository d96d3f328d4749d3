#include "platform/binary_cookie_storage.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "platform/posix_files.h"

namespace tasselby {

namespace {

// Replaces the file in one step: the new bytes go to a temporary file in the
// same folder, reach the disk, and are renamed over the original, so a reader
// (or a crash) sees either the old file or the new one, never a half-written
// one. The original's permissions carry over.
bool replaceFile(const std::string& path, const std::string& bytes) {
    struct stat original {};
    if (::stat(path.c_str(), &original) != 0) return false;
    std::string temporary = path + ".XXXXXX";
    int fd = ::mkstemp(temporary.data());
    if (fd < 0) return false;
    bool written = PosixFiles::writeAll(fd, bytes) && ::fchmod(fd, original.st_mode & 07777) == 0 && ::fsync(fd) == 0;
    written = ::close(fd) == 0 && written;
    if (!written || ::rename(temporary.c_str(), path.c_str()) != 0) {
        ::unlink(temporary.c_str());
        return false;
    }
    // Make the rename itself durable.
    std::string folder = std::filesystem::path(path).parent_path().string();
    int folderFd = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY);
    if (folderFd >= 0) {
        ::fsync(folderFd);
        ::close(folderFd);
    }
    return true;
}

}  // namespace

BinaryCookieFile* BinaryCookieStorage::file() {
    if (!loaded_) {
        loaded_ = true;
        if (std::optional<std::string> bytes = PosixFiles::readWholeFile(path_)) {
            file_ = BinaryCookieFile::parse(*bytes);
            if (file_) original_ = std::move(*bytes);
        }
    }
    return file_ ? &*file_ : nullptr;
}

std::vector<HttpCookie> BinaryCookieStorage::cookies() {
    BinaryCookieFile* held = file();
    return held != nullptr ? held->cookies() : std::vector<HttpCookie>{};
}

void BinaryCookieStorage::deleteCookie(const HttpCookie& cookie) {
    BinaryCookieFile* held = file();
    if (held != nullptr && held->remove(cookie)) changed_ = true;
}

void BinaryCookieStorage::flush() {
    if (!changed_) return;
    changed_ = false;
    // Someone else wrote the file since it was read: writing the held copy
    // back would throw their cookies away, so the deletions are dropped.
    if (PosixFiles::readWholeFile(path_) != original_) return;
    std::string bytes = file_->serialize();
    if (replaceFile(path_, bytes)) original_ = std::move(bytes);
}

}  // namespace tasselby
