#include "platform/dry_run_platform.h"

#include <algorithm>
#include <cstdlib>

namespace tasselby {

namespace {

// The path with repeated and trailing slashes dropped, so that "a//b/" and
// "a/b" name the same item. Links are not resolved: a removal takes the link,
// never its target.
std::string tidy(const std::string& path) {
    std::string result;
    result.reserve(path.size());
    for (char c : path) {
        if (c == '/' && !result.empty() && result.back() == '/') continue;
        result.push_back(c);
    }
    while (result.size() > 1 && result.back() == '/') result.pop_back();
    return result;
}

}  // namespace

DryRunPlatform::DryRunPlatform(Platform& real) : real_(real) {}

void DryRunPlatform::terminate() {
    real_.terminate();
    // The compiler does not carry the promise through a virtual call.
    std::abort();
}

bool DryRunPlatform::hidden(const std::string& path) const {
    if (removed_.empty()) return false;
    std::string item = tidy(path);
    for (;;) {
        if (removed_.contains(item)) return true;
        std::size_t slash = item.rfind('/');
        if (slash == std::string::npos || slash == 0) return false;
        item.resize(slash);
    }
}

bool DryRunPlatform::fileExists(const std::string& path) { return !hidden(path) && real_.fileExists(path); }

bool DryRunPlatform::isDirectory(const std::string& path) { return !hidden(path) && real_.isDirectory(path); }

FileType DryRunPlatform::fileType(const std::string& path) {
    return hidden(path) ? FileType::None : real_.fileType(path);
}

std::vector<std::string> DryRunPlatform::contentsOfDirectory(const std::string& path) {
    if (hidden(path)) return {};
    std::vector<std::string> names = real_.contentsOfDirectory(path);
    if (!removed_.empty()) {
        std::string folder = tidy(path);
        std::erase_if(names, [&](const std::string& name) { return removed_.contains(folder + "/" + name); });
    }
    return names;
}

std::optional<std::string> DryRunPlatform::readUtf8File(const std::string& path) {
    if (hidden(path)) return std::nullopt;
    return real_.readUtf8File(path);
}

bool DryRunPlatform::removeItem(const std::string& path) {
    // A real removal of a missing item answers "gone" as well; only an item
    // that is there is recorded.
    if (fileType(path) == FileType::None) return true;
    removed_.insert(tidy(path));
    removals_.push_back(path);
    return true;
}

int DryRunPlatform::openForOverwrite(const std::string& path) {
    // The file is opened for real, so that one a real run could not
    // overwrite fails here too; nothing is ever written through it.
    if (hidden(path)) return -1;
    return real_.openForOverwrite(path);
}

long DryRunPlatform::writeToFile(int, const unsigned char*, std::size_t count) { return static_cast<long>(count); }

HttpCookieStorage& DryRunPlatform::sharedHTTPCookieStorage() { return cookies_; }

std::vector<HttpCookie> DryRunPlatform::CookieView::cookies() {
    std::vector<HttpCookie> stored = owner_.real_.sharedHTTPCookieStorage().cookies();
    std::erase_if(stored, [&](const HttpCookie& cookie) {
        return std::find(deleted_.begin(), deleted_.end(), cookie) != deleted_.end();
    });
    return stored;
}

}  // namespace tasselby
