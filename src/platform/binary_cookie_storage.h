#pragma once

#include <optional>
#include <string>

#include "platform/binary_cookie_file.h"
#include "platform/platform.h"

namespace tasselby {

// The shared cookie storage kept in a binary cookie file. The file is read on
// first use and held; deletions change the held copy only, and flush() writes
// it back once, atomically. A missing file, or one that cannot be read whole,
// lists no cookies and is never written.
class BinaryCookieStorage : public HttpCookieStorage {
public:
    explicit BinaryCookieStorage(std::string path) : path_(std::move(path)) {}

    std::vector<HttpCookie> cookies() override;
    void deleteCookie(const HttpCookie& cookie) override;
    void flush() override;

private:
    BinaryCookieFile* file();

    std::string path_;
    bool loaded_ = false;
    std::string original_;  // the bytes the held copy was read from
    std::optional<BinaryCookieFile> file_;
    bool changed_ = false;
};

}  // namespace tasselby
