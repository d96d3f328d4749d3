#include "platform/property_list_file.h"

#include <fcntl.h>
#include <plist/plist.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <optional>

#include "platform/posix_files.h"

namespace tasselby {

namespace {

constexpr mode_t kPreferencesMode = 0600;

std::string systemError(const std::string& what) { return what + ": " + std::strerror(errno); }

// Closes a descriptor when the scope ends, whatever path leaves it.
class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return fd_; }
    // Closes now, so that an error of the final close is seen.
    bool close() {
        int fd = fd_;
        fd_ = -1;
        return ::close(fd) == 0;
    }

private:
    int fd_;
};

// The serialized bytes in the given format, freed by libplist's own call.
std::string serialize(plist_t root, PropertyListFile::Format format) {
    char* bytes = nullptr;
    uint32_t length = 0;
    if (format == PropertyListFile::Format::Binary) {
        plist_to_bin(root, &bytes, &length);
    } else {
        plist_to_xml(root, &bytes, &length);
    }
    std::string text = bytes != nullptr ? std::string(bytes, length) : std::string();
    if (format == PropertyListFile::Format::Binary) {
        plist_to_bin_free(bytes);
    } else {
        plist_to_xml_free(bytes);
    }
    return text;
}

std::string folderOf(const std::string& path) {
    std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace

void PropertyListFile::Free::operator()(void* node) const { plist_free(node); }

PropertyListFile::PropertyListFile() : root_(plist_new_dict()) {}
PropertyListFile::~PropertyListFile() = default;
PropertyListFile::PropertyListFile(PropertyListFile&&) noexcept = default;
PropertyListFile& PropertyListFile::operator=(PropertyListFile&&) noexcept = default;

bool PropertyListFile::isDictionary() const { return plist_get_node_type(root_.get()) == PLIST_DICT; }

PropertyListFile::LoadResult PropertyListFile::load(const std::string& path) {
    root_.reset(plist_new_dict());
    format_ = Format::Binary;
    // The same bounded, non-blocking read as every other whole file: a named
    // pipe or a device in place of the preferences never stalls the caller.
    std::optional<std::string> bytes = PosixFiles::readWholeFile(path);
    if (!bytes) {
        struct stat status {};
        return ::lstat(path.c_str(), &status) != 0 && errno == ENOENT ? LoadResult::Missing : LoadResult::Unreadable;
    }
    if (bytes->empty() || bytes->size() > std::numeric_limits<uint32_t>::max()) return LoadResult::Unreadable;
    // libplist tells binary from XML itself; the signature of this call
    // changed in later releases, so it is made in this one place.
    const auto length = static_cast<uint32_t>(bytes->size());
    plist_t root = nullptr;
    plist_from_memory(bytes->data(), length, &root);
    if (root == nullptr) return LoadResult::Unreadable;
    root_.reset(root);
    format_ = plist_is_binary(bytes->data(), length) ? Format::Binary : Format::Xml;
    return LoadResult::Loaded;
}

std::optional<std::string> PropertyListFile::save(const std::string& path) const {
    std::string bytes = serialize(root_.get(), format_);
    if (bytes.empty()) return "cannot encode the property list";
    std::string folder = folderOf(path);
    std::string temporary = path + ".XXXXXX";
    // mkstemp makes the file with mode 0600 already; fchmod states it
    // whatever the umask says.
    Descriptor file(mkostemp(temporary.data(), O_CLOEXEC));
    if (file.get() < 0) return systemError("cannot create a file in " + folder);
    auto fail = [&](const std::string& what) {
        std::string reason = systemError(what);
        ::unlink(temporary.c_str());
        return reason;
    };
    if (::fchmod(file.get(), kPreferencesMode) != 0) return fail("cannot set the mode of " + temporary);
    if (!PosixFiles::writeAll(file.get(), bytes)) return fail("cannot write " + temporary);
    if (::fsync(file.get()) != 0) return fail("cannot sync " + temporary);
    if (!file.close()) return fail("cannot close " + temporary);
    if (::rename(temporary.c_str(), path.c_str()) != 0) return fail("cannot replace " + path);
    // The rename itself lasts only once the folder's entry is on disk.
    Descriptor directory(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.get() >= 0) ::fsync(directory.get());
    return std::nullopt;
}

}  // namespace tasselby
