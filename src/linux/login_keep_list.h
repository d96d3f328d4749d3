#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace tasselby {

// The sites a user saved passwords for, read from the browsers' own login
// stores. The stores are opened read-only and never changed; no secret is
// decrypted or even read.
class LoginKeepList {
public:
    LoginKeepList() = delete;

    // Adds the sites of a Chromium-family login database ("Login Data",
    // "Login Data For Account"): "origin_url" and "signon_realm" of the
    // "logins" rows with "blacklisted_by_user" 0 (1 marks a site the user
    // said never to save for). A missing, locked beyond reading, or foreign
    // file adds nothing.
    static void addChromiumLogins(const std::string& path, std::set<std::string>& sites);

    // Adds the sites of Firefox's saved logins: the http and https hostnames
    // of a "logins.json" text (one that does not parse adds nothing), and of
    // a legacy "signons.sqlite" (table "moz_logins", column "hostname").
    static void addFirefoxLoginsJson(std::string_view text, std::set<std::string>& sites);
    static void addFirefoxSignons(const std::string& path, std::set<std::string>& sites);

    // The site of a saved login's URL: the host of an http or https URL
    // (any case of the scheme), by the site-name rule; nothing for any other
    // scheme or a URL without a host.
    static std::optional<std::string> siteOfLoginUrl(std::string_view url);
};

}  // namespace tasselby
