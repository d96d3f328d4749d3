#include "linux/login_keep_list.h"

#include <algorithm>
#include <cctype>

#include "keep/worker_extras.h"
#include "storage/sqlite.h"

namespace tasselby {

namespace {

constexpr const char* kSavedLogins =
    "SELECT origin_url, signon_realm FROM logins WHERE blacklisted_by_user = 0;";
constexpr const char* kLoginColumns[] = {"origin_url", "signon_realm"};
constexpr std::string_view kWebSchemes[] = {"http://", "https://"};

bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() &&
           std::equal(prefix.begin(), prefix.end(), text.begin(), [](char a, char b) {
               return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
           });
}

}  // namespace

std::optional<std::string> LoginKeepList::siteOfLoginUrl(std::string_view url) {
    std::string_view rest;
    for (std::string_view scheme : kWebSchemes) {
        if (startsWithIgnoringCase(url, scheme)) rest = url.substr(scheme.size());
    }
    if (rest.empty()) return std::nullopt;
    std::string_view authority = rest.substr(0, rest.find_first_of("/?#\\"));
    if (std::size_t at = authority.rfind('@'); at != std::string_view::npos) authority.remove_prefix(at + 1);
    std::string_view host = authority;
    if (host.starts_with('[')) {
        host = host.substr(0, host.find(']') == std::string_view::npos ? host.size() : host.find(']') + 1);
    } else if (std::size_t colon = host.find(':'); colon != std::string_view::npos) {
        host = host.substr(0, colon);
    }
    if (host.empty()) return std::nullopt;
    return WorkerExtras::siteWithDomainName(std::string(host));
}

void LoginKeepList::addChromiumLogins(const std::string& path, std::set<std::string>& sites) {
    // Read-only first; a database that the browser holds locked at this
    // moment is read once more as immutable, which takes no lock at all.
    for (bool immutable : {false, true}) {
        Sqlite database;
        if (!database.openExisting(path, true, immutable)) return;
        std::optional<SqlRows> rows = database.executeQuery(kSavedLogins);
        if (!rows) continue;
        for (const SqlRow& row : *rows) {
            for (const char* column : kLoginColumns) {
                auto value = row.find(column);
                const std::string* url = value == row.end() ? nullptr : sqlText(value->second);
                if (url == nullptr) continue;
                if (std::optional<std::string> site = siteOfLoginUrl(*url)) sites.insert(*site);
            }
        }
        return;
    }
}

}  // namespace tasselby
