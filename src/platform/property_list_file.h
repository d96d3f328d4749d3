#pragma once

#include <memory>
#include <optional>
#include <string>

namespace tasselby {

// One preference property list on disk: its root node and whether it was
// stored binary or as XML. Owns the node; the file is read once and written
// only by save().
class PropertyListFile {
public:
    enum class Format { Binary, Xml };
    enum class LoadResult { Loaded, Missing, Unreadable };

    // An empty dictionary to be saved in the binary format.
    PropertyListFile();
    ~PropertyListFile();
    PropertyListFile(PropertyListFile&&) noexcept;
    PropertyListFile& operator=(PropertyListFile&&) noexcept;

    // Reads the file at path, binary or XML. Missing: no file there;
    // Unreadable: a file that cannot be read or is no property list. In both
    // cases the instance keeps an empty dictionary.
    LoadResult load(const std::string& path);

    // The root node (a plist_t); a dictionary unless load() found another type.
    void* root() const { return root_.get(); }
    bool isDictionary() const;
    Format format() const { return format_; }

    // Replaces the file at path in one step: a temporary file in the same
    // folder, written in format(), synced, given mode 0600, then renamed over
    // the old one, and the folder synced. On failure the old file is left as
    // it was and the answer is the reason.
    std::optional<std::string> save(const std::string& path) const;

private:
    struct Free {
        void operator()(void* node) const;
    };
    std::unique_ptr<void, Free> root_;
    Format format_ = Format::Binary;
};

}  // namespace tasselby
