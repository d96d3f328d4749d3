#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tasselby {

// The addresses of Firefox's saved logins, read without decrypting anything.
class FirefoxLogins {
public:
    FirefoxLogins() = delete;

    // The hosts of "logins.json": logins[].hostname of every http or https
    // origin, in file order (the accounts pseudo-login and other schemes are
    // not web origins and are passed over). A text that does not parse, or
    // has no "logins" list, names none.
    static std::vector<std::string> hostsOfLoginsJson(std::string_view text);
};

}  // namespace tasselby
