#include "platform/posix_files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace tasselby {

namespace {

// Removes everything inside the open folder dirFd, never following a link:
// entries are looked at with AT_SYMLINK_NOFOLLOW and folders are opened with
// O_NOFOLLOW, so a link is unlinked as a link. Errors are skipped, as a
// removal that cannot finish still takes whatever it can.
void removeContents(int dirFd) {
    DIR* dir = fdopendir(dirFd);
    if (dir == nullptr) {
        close(dirFd);
        return;
    }
    while (dirent* entry = readdir(dir)) {
        const char* name = entry->d_name;
        if (name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'))) continue;
        bool isDir = entry->d_type == DT_DIR;
        if (entry->d_type == DT_UNKNOWN) {
            struct stat st;
            isDir = fstatat(dirfd(dir), name, &st, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(st.st_mode);
        }
        if (!isDir) {
            unlinkat(dirfd(dir), name, 0);
            continue;
        }
        int child = openat(dirfd(dir), name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (child >= 0) removeContents(child);
        unlinkat(dirfd(dir), name, AT_REMOVEDIR);
    }
    closedir(dir);
}

}  // namespace

bool PosixFiles::fileExists(const std::string& path) {
    struct stat st;
    return !path.empty() && stat(path.c_str(), &st) == 0;
}

bool PosixFiles::isDirectory(const std::string& path) {
    struct stat st;
    return !path.empty() && stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

FileType PosixFiles::fileType(const std::string& path) {
    struct stat st;
    if (path.empty() || lstat(path.c_str(), &st) != 0) return FileType::None;
    if (S_ISREG(st.st_mode)) return FileType::Regular;
    if (S_ISDIR(st.st_mode)) return FileType::Directory;
    if (S_ISLNK(st.st_mode)) return FileType::SymbolicLink;
    return FileType::Other;
}

std::vector<std::string> PosixFiles::contentsOfDirectory(const std::string& path) {
    std::vector<std::string> names;
    if (path.empty()) return names;
    DIR* dir = opendir(path.c_str());
    if (dir == nullptr) return names;
    while (dirent* entry = readdir(dir)) {
        std::string name = entry->d_name;
        if (name != "." && name != "..") names.push_back(std::move(name));
    }
    closedir(dir);
    return names;
}

std::optional<std::string> PosixFiles::readWholeFile(const std::string& path) {
    if (path.empty()) return std::nullopt;
    // Without O_NONBLOCK, opening a named pipe would wait for a writer that
    // never comes; fstat on what was opened (not on the name, which may
    // change in between) then admits regular files only, so a device such as
    // /dev/zero is never read without end.
    int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return std::nullopt;
    struct stat st;
    if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || static_cast<std::uint64_t>(st.st_size) > kMaxWholeFileSize) {
        close(fd);
        return std::nullopt;
    }
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(st.st_size));
    char buffer[65536];
    for (;;) {
        ssize_t n = read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) continue;
        // A file that grows past the bound while it is read is refused too.
        if (n < 0 || bytes.size() + static_cast<std::size_t>(n) > kMaxWholeFileSize) {
            close(fd);
            return std::nullopt;
        }
        if (n == 0) break;
        bytes.append(buffer, static_cast<std::size_t>(n));
    }
    close(fd);
    return bytes;
}

std::optional<std::string> PosixFiles::readUtf8File(const std::string& path) {
    std::optional<std::string> text = readWholeFile(path);
    if (!text || !isValidUtf8(*text)) return std::nullopt;
    return text;
}

bool PosixFiles::removeItem(const std::string& givenPath) {
    // A trailing "/" would make the system resolve a final link to a folder
    // and empty the folder it points at; without it the link itself goes.
    std::string path = givenPath;
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    if (path.empty()) return false;
    // Most items removed are files: unlinking first spares a look-up of the
    // path. unlink never follows a link and refuses a folder.
    if (unlink(path.c_str()) == 0) return true;
    if (errno != EISDIR && errno != EPERM) return false;
    int fd = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd >= 0) removeContents(fd);
    return rmdir(path.c_str()) == 0;
}

bool PosixFiles::writeAll(int fd, std::string_view bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        ssize_t written = write(fd, bytes.data() + done, bytes.size() - done);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        done += static_cast<std::size_t>(written);
    }
    return true;
}

bool PosixFiles::replaceFileContents(const std::string& path, const std::string& contents,
                                     const std::optional<std::string>& retiredPath) {
    struct stat old;
    if (path.empty() || lstat(path.c_str(), &old) != 0 || !S_ISREG(old.st_mode)) return false;
    std::string temporary = path + ".tasselby-XXXXXX";
    int fd = mkstemp(temporary.data());
    if (fd < 0) return false;
    bool written = writeAll(fd, contents);
    // The new file belongs to whoever owned the old one; a worker run by
    // another user than the owner cannot give it away, and that is not worth
    // failing for. The mode matters more: the browser chose it.
    if (fchown(fd, old.st_uid, old.st_gid) != 0) {
        // Ignored on purpose: see above.
    }
    written = written && fchmod(fd, old.st_mode & 07777) == 0 && fsync(fd) == 0;
    written = close(fd) == 0 && written;
    if (written && retiredPath) written = link(path.c_str(), retiredPath->c_str()) == 0;
    if (!written || rename(temporary.c_str(), path.c_str()) != 0) {
        if (written && retiredPath) unlink(retiredPath->c_str());
        unlink(temporary.c_str());
        return false;
    }
    // The rename itself lasts once the folder is synced; a folder that cannot
    // be opened still holds the new file, only less durably.
    std::string folder = path.substr(0, path.find_last_of('/') == std::string::npos ? 0 : path.find_last_of('/'));
    int dirFd = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dirFd >= 0) {
        fsync(dirFd);
        close(dirFd);
    }
    return true;
}

bool PosixFiles::isLockedByOtherProcess(const std::string& path) {
    if (path.empty()) return false;
    // Non-blocking, so that a FIFO planted under the lock file's name cannot
    // stall the run.
    int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd < 0) return false;
    struct flock query {};
    query.l_type = F_WRLCK;
    query.l_whence = SEEK_SET;
    query.l_start = 0;
    query.l_len = 0;
    // F_GETLK never reports this process's own locks, which is what "another
    // process" asks for.
    bool locked = fcntl(fd, F_GETLK, &query) == 0 && query.l_type != F_UNLCK;
    close(fd);
    return locked;
}

int PosixFiles::openForOverwrite(const std::string& path) {
    // O_NOFOLLOW: a final symbolic link is refused (ELOOP), so the overwrite
    // never writes into whatever a link points at. O_NONBLOCK keeps a named
    // pipe from holding the open; only a regular file is ever handed out.
    int fd = open(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return -1;
    struct stat st;
    if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        close(fd);
        return -1;
    }
    return fd;
}

std::optional<std::uint64_t> PosixFiles::sizeOfOpenFile(int fd) {
    struct stat st;
    if (fstat(fd, &st) != 0) return std::nullopt;
    return static_cast<std::uint64_t>(st.st_size);
}

long PosixFiles::writeToFile(int fd, const unsigned char* bytes, std::size_t count) {
    return static_cast<long>(write(fd, bytes, count));
}

bool PosixFiles::closeFile(int fd) {
    return close(fd) == 0;
}

bool isValidUtf8(const std::string& bytes) {
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    const auto* end = p + bytes.size();
    while (p < end) {
        unsigned char c = *p;
        if (c < 0x80) {
            ++p;
            continue;
        }
        int length;
        std::uint32_t code;
        if (c >= 0xC2 && c <= 0xDF) {
            length = 2;
            code = c & 0x1F;
        } else if (c >= 0xE0 && c <= 0xEF) {
            length = 3;
            code = c & 0x0F;
        } else if (c >= 0xF0 && c <= 0xF4) {
            length = 4;
            code = c & 0x07;
        } else {
            return false;
        }
        if (end - p < length) return false;
        for (int i = 1; i < length; ++i) {
            if ((p[i] & 0xC0) != 0x80) return false;
            code = (code << 6) | (p[i] & 0x3F);
        }
        if ((length == 3 && (code < 0x800 || (code >= 0xD800 && code <= 0xDFFF))) ||
            (length == 4 && (code < 0x10000 || code > 0x10FFFF))) {
            return false;
        }
        p += length;
    }
    return true;
}

}  // namespace tasselby
