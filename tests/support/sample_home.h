#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace tasselby::testing {

// A throwaway folder, removed with everything in it when the object goes.
class TemporaryFolder {
public:
    explicit TemporaryFolder(const std::string& prefix = "tasselby");
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return path_; }
    std::string operator/(const std::string& relative) const { return path_ + "/" + relative; }

private:
    std::string path_;
};

// A value in a preference property list.
struct PreferenceValue {
    enum class Kind { Boolean, Integer, String } kind;
    long long number = 0;
    std::string text;
    static PreferenceValue boolean(bool value) { return {Kind::Boolean, value ? 1 : 0, {}}; }
    static PreferenceValue integer(long long value) { return {Kind::Integer, value, {}}; }
    static PreferenceValue string(std::string value) { return {Kind::String, 0, std::move(value)}; }
};

enum class PlistFormat { Binary, Xml };

// Builds the files of a macOS-style home folder. Paths are relative to the
// home and may begin with "~/" or not.
class SampleHome {
public:
    explicit SampleHome(std::string root) : root_(std::move(root)) {}

    const std::string& root() const { return root_; }
    std::string path(const std::string& relative) const;

    // Writes a file (making its folders); answers its absolute path.
    std::string writeFile(const std::string& relative, const std::string& contents = "") const;
    std::string makeFolder(const std::string& relative) const;
    bool exists(const std::string& relative) const;
    std::string read(const std::string& relative) const;

    // "~/Library/Preferences/DOMAIN.plist" holding the given keys.
    void writePreferences(const std::string& domain, const std::map<std::string, PreferenceValue>& values,
                          PlistFormat format = PlistFormat::Binary) const;
    // The main application's suite with boolean keys.
    void writeSuitePreferences(const std::map<std::string, bool>& values) const;

    // A Chromium-family "Local State" listing the profiles (folder, display
    // name); an empty display name leaves the entry without "name".
    void writeLocalState(const std::string& browserRoot,
                         const std::vector<std::pair<std::string, std::string>>& profiles) const;

private:
    std::string root_;
};

// Every item below the folder, never through a link, by its path relative to
// the folder: its mode, and a file's bytes or a link's target. The relative
// paths in skip are left out with everything below them.
std::map<std::string, std::string> snapshot(const std::string& folder, const std::vector<std::string>& skip = {});

// The folder, relative to a home, of each Chromium-family browser's data.
inline constexpr const char* kChromeRoot = "Library/Application Support/Google/Chrome";
inline constexpr const char* kChromiumRoot = "Library/Application Support/Chromium";
inline constexpr const char* kOperaRoot = "Library/Application Support/com.operasoftware.Opera";

}  // namespace tasselby::testing
