#include "linux/firefox_service_worker_file.h"

#include <charconv>

namespace tasselby {

namespace {

constexpr std::string_view kTerminator = "#";
// The versions whose block layout is known; a later one is not guessed at.
constexpr int kOldestVersion = 2;
constexpr int kNewestVersion = 12;
// Only the oldest version has a line naming the script between the suffix and the scope.
constexpr int kSpecLineVersion = 2;

std::optional<int> versionOf(std::string_view line) {
    int version = 0;
    auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), version);
    if (error != std::errc() || end != line.data() + line.size()) return std::nullopt;
    if (version < kOldestVersion || version > kNewestVersion) return std::nullopt;
    return version;
}

}  // namespace

std::optional<FirefoxServiceWorkerFile> FirefoxServiceWorkerFile::parse(std::string_view text) {
    if (!text.ends_with('\n')) return std::nullopt;
    std::vector<std::string_view> lines;
    for (std::size_t start = 0; start < text.size();) {
        std::size_t end = text.find('\n', start);
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }

    std::optional<int> version = versionOf(lines.front());
    if (!version) return std::nullopt;
    const std::size_t scopeLine = *version == kSpecLineVersion ? 2 : 1;

    FirefoxServiceWorkerFile file;
    file.header_ = std::string(lines.front()) + "\n";
    std::vector<std::string_view> block;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        if (lines[i] != kTerminator) {
            block.push_back(lines[i]);
            continue;
        }
        // A block too short to hold its scope is not one we can judge.
        if (block.size() <= scopeLine) return std::nullopt;
        Registration registration{std::string(block[0]), std::string(block[scopeLine]), {}};
        for (std::string_view line : block) (registration.text += line) += '\n';
        (registration.text += kTerminator) += '\n';
        file.registrations_.push_back(std::move(registration));
        block.clear();
    }
    if (!block.empty()) return std::nullopt;
    return file;
}

std::string FirefoxServiceWorkerFile::textKeeping(const std::function<bool(const Registration&)>& keep) const {
    std::string text = header_;
    for (const Registration& registration : registrations_) {
        if (keep(registration)) text += registration.text;
    }
    return text;
}

}  // namespace tasselby
