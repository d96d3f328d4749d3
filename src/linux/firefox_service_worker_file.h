#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tasselby {

// Firefox's list of service worker registrations ("serviceworker.txt"): a
// version line, then one block of lines per registration, each block ended
// by a line "#". A block starts with the origin-attribute suffix and the
// scope (in the oldest version a line naming the script stands between them).
class FirefoxServiceWorkerFile {
public:
    struct Registration {
        std::string suffix;  // the origin attributes ("^userContextId=1"), often empty
        std::string scope;
        std::string text;  // the block's lines as written, terminator line included
    };

    // Nothing unless the whole text is a list of a known version: a version
    // line Firefox still reads, complete blocks only, every line ended by
    // "\n". Such a file is left as it is.
    static std::optional<FirefoxServiceWorkerFile> parse(std::string_view text);

    const std::vector<Registration>& registrations() const { return registrations_; }

    // The file's text holding only the registrations keep answers true for,
    // each written exactly as it was read.
    std::string textKeeping(const std::function<bool(const Registration&)>& keep) const;

private:
    std::string header_;
    std::vector<Registration> registrations_;
};

}  // namespace tasselby
