#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "support/fixture_database.h"
#include "support/sample_home.h"

namespace tasselby::testing {

// One cookie to store in a fixture database. A missing host or name is stored
// as SQL NULL where the schema allows it.
struct StoredCookie {
    std::optional<std::string> host;
    std::optional<std::string> name;
    std::string value = "1";
    std::string path = "/";
    std::string topFrameSiteKey = "";  // Version24 only
};

// Ten cookies of sites that are not kept (three with tracking names) and
// five of kept sites (two with tracking names): with the keep list below,
// 15 cookies and 5 tracking cookies are counted and 12 cookies go. The kept
// sites' ordinary cookies are named "prefs", "lang" and "cart".
std::vector<StoredCookie> exampleCookies();
std::vector<std::string> exampleKeptSites();

// Chromium "Cookies" layouts: meta version 4 (2009-2011), 20 (2023) and 24
// (Chromium 156), each with its meta table and indexes as the browser creates them.
enum class ChromiumCookieSchema { Version4, Version20, Version24 };

// Mozilla "cookies.sqlite" layouts: schema 2 (the one Camino uses), 4 (with
// baseDomain and creationTime) and the current one.
enum class MozillaCookieSchema { Version2, Version4, Current };

// Each writer makes the database anew (folders included). Cookie i gets the
// creation time (Chromium) or id (Mozilla) made from its position, so two
// stores written from the same list hold rows equal in every column.
void writeChromiumCookies(const std::string& path, ChromiumCookieSchema schema,
                          const std::vector<StoredCookie>& cookies);
void writeMozillaCookies(const std::string& path, MozillaCookieSchema schema,
                         const std::vector<StoredCookie>& cookies);
// "Origin Bound Certs" (meta version 3) with one certificate per origin.
void writeOriginBoundCerts(const std::string& path, const std::vector<std::optional<std::string>>& origins);

// The creation time a Chromium fixture gives cookie i.
std::int64_t chromiumCreationTime(std::size_t index);

// One cookie of a binary cookie file.
struct BinaryCookie {
    BinaryCookie(std::string domainName, std::string cookieName, std::string cookiePath = "/",
                 std::string cookieValue = "1", std::uint32_t cookieFlags = 0, double expiry = 7.0e8,
                 double creation = 6.9e8, std::optional<std::uint16_t> portNumber = std::nullopt)
        : domain(std::move(domainName)), name(std::move(cookieName)), path(std::move(cookiePath)),
          value(std::move(cookieValue)), flags(cookieFlags), expires(expiry), created(creation), port(portNumber) {}

    std::string domain;
    std::string name;
    std::string path;
    std::string value;
    std::uint32_t flags;
    double expires;
    double created;
    std::optional<std::uint16_t> port;  // written before the strings, with the port flag set
};

// Builds binary cookie files page by page, with the default accept-policy
// property list after the footer.
class BinaryCookieFileBuilder {
public:
    BinaryCookieFileBuilder& page(std::vector<BinaryCookie> cookies);
    std::string bytes() const;

private:
    std::vector<std::vector<BinaryCookie>> pages_;
};

// The example cookies in every browser's stores: Chrome's "Default" (current
// layout) and "Profile 1" (old layout) with their certificates, Chromium,
// Opera, two Firefox profiles, Camino and the shared cookie file. Chrome's
// and Chromium's profile lists are written by the caller.
void writeSampleCookieStores(const SampleHome& home);

// Where the shared cookie storage's file lives, relative to the home.
inline constexpr const char* kBinaryCookieFile = "Library/Cookies/Cookies.binarycookies";
inline constexpr const char* kFirefoxProfiles = "Library/Application Support/Firefox/Profiles";
inline constexpr const char* kCaminoCookies = "Library/Application Support/Camino/cookies.sqlite";

}  // namespace tasselby::testing
