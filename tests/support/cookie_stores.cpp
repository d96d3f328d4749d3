#include "support/cookie_stores.h"

#include <bit>
#include <filesystem>
#include <memory>
#include <stdexcept>

namespace tasselby::testing {

namespace {

namespace fs = std::filesystem;

// A fresh fixture database: whatever stood at the path goes first.
FixtureDatabase createDatabase(const std::string& path) {
    fs::remove(path);
    return FixtureDatabase(path);
}

void writeMeta(FixtureDatabase& db, int version, int compatible) {
    db.run("CREATE TABLE meta(key LONGVARCHAR NOT NULL UNIQUE PRIMARY KEY, value LONGVARCHAR);"
           "INSERT INTO meta VALUES('version','" + std::to_string(version) + "');"
           "INSERT INTO meta VALUES('last_compatible_version','" + std::to_string(compatible) + "');");
}

constexpr const char* kChromiumV4 =
    "CREATE TABLE cookies (creation_utc INTEGER NOT NULL UNIQUE PRIMARY KEY,host_key TEXT NOT NULL,"
    "name TEXT NOT NULL,value TEXT NOT NULL,path TEXT NOT NULL,expires_utc INTEGER NOT NULL,"
    "secure INTEGER NOT NULL,httponly INTEGER NOT NULL,last_access_utc INTEGER NOT NULL);"
    "CREATE INDEX cookie_times ON cookies (creation_utc);";
constexpr const char* kChromiumV4Insert =
    "INSERT INTO cookies VALUES(?1,?2,?3,?4,?5,?1+86400000000,0,0,?1)";

constexpr const char* kChromiumV20 =
    "CREATE TABLE cookies(creation_utc INTEGER NOT NULL,host_key TEXT NOT NULL,top_frame_site_key TEXT NOT NULL,"
    "name TEXT NOT NULL,value TEXT NOT NULL,encrypted_value BLOB NOT NULL,path TEXT NOT NULL,"
    "expires_utc INTEGER NOT NULL,is_secure INTEGER NOT NULL,is_httponly INTEGER NOT NULL,"
    "last_access_utc INTEGER NOT NULL,has_expires INTEGER NOT NULL,is_persistent INTEGER NOT NULL,"
    "priority INTEGER NOT NULL,samesite INTEGER NOT NULL,source_scheme INTEGER NOT NULL,"
    "source_port INTEGER NOT NULL,is_same_party INTEGER NOT NULL,last_update_utc INTEGER NOT NULL);"
    "CREATE UNIQUE INDEX cookies_unique_index ON cookies(host_key, top_frame_site_key, name, path, "
    "source_scheme, source_port);";
constexpr const char* kChromiumV20Insert =
    "INSERT INTO cookies VALUES(?1,?2,'',?3,?4,X'',?5,?1+86400000000,1,0,?1,1,1,1,-1,2,443,0,?1)";

constexpr const char* kChromiumV24 =
    "CREATE TABLE cookies(creation_utc INTEGER NOT NULL, host_key TEXT NOT NULL, top_frame_site_key TEXT NOT NULL,"
    "name TEXT NOT NULL, value TEXT NOT NULL, encrypted_value BLOB NOT NULL, path TEXT NOT NULL,"
    "expires_utc INTEGER NOT NULL, is_secure INTEGER NOT NULL, is_httponly INTEGER NOT NULL,"
    "last_access_utc INTEGER NOT NULL, has_expires INTEGER NOT NULL, is_persistent INTEGER NOT NULL,"
    "priority INTEGER NOT NULL, samesite INTEGER NOT NULL, source_scheme INTEGER NOT NULL,"
    "source_port INTEGER NOT NULL, last_update_utc INTEGER NOT NULL, source_type INTEGER NOT NULL,"
    "has_cross_site_ancestor INTEGER NOT NULL);"
    "CREATE UNIQUE INDEX cookies_unique_index ON cookies(host_key, top_frame_site_key, has_cross_site_ancestor,"
    "name, path, source_scheme, source_port);";
constexpr const char* kChromiumV24Insert =
    "INSERT INTO cookies VALUES(?1,?2,?6,?3,?4,X'7631300102',?5,?1+86400000000,0,0,?1,1,1,1,-1,1,80,?1,0,0)";

constexpr const char* kMozillaV2 =
    "CREATE TABLE moz_cookies (id INTEGER PRIMARY KEY, name TEXT, value TEXT, host TEXT, path TEXT,"
    "expiry INTEGER, lastAccessed INTEGER, isSecure INTEGER, isHttpOnly INTEGER);";
constexpr const char* kMozillaV2Insert =
    "INSERT INTO moz_cookies VALUES(?1,?3,?4,?2,?5,1800000000,1700000000000000+?1,0,0)";

constexpr const char* kMozillaV4 =
    "CREATE TABLE moz_cookies (id INTEGER PRIMARY KEY, baseDomain TEXT, name TEXT, value TEXT, host TEXT, "
    "path TEXT, expiry INTEGER, lastAccessed INTEGER, creationTime INTEGER, isSecure INTEGER, "
    "isHttpOnly INTEGER, CONSTRAINT moz_uniqueid UNIQUE (name, host, path));"
    "CREATE INDEX moz_basedomain ON moz_cookies (baseDomain);";
constexpr const char* kMozillaV4Insert =
    "INSERT INTO moz_cookies VALUES(?1,ltrim(?2,'.'),?3,?4,?2,?5,1800000000,1700000000000000+?1,"
    "1700000000000000+?1,0,0)";

constexpr const char* kMozillaCurrent =
    "CREATE TABLE moz_cookies (id INTEGER PRIMARY KEY, originAttributes TEXT NOT NULL DEFAULT '', name TEXT, "
    "value TEXT, host TEXT, path TEXT, expiry INTEGER, lastAccessed INTEGER, creationTime INTEGER, "
    "isSecure INTEGER, isHttpOnly INTEGER, inBrowserElement INTEGER DEFAULT 0, sameSite INTEGER DEFAULT 0, "
    "schemeMap INTEGER DEFAULT 0, isPartitionedAttributeSet INTEGER DEFAULT 0, "
    "CONSTRAINT moz_uniqueid UNIQUE (name, host, path, originAttributes));";
constexpr const char* kMozillaCurrentInsert =
    "INSERT INTO moz_cookies (id, name, value, host, path, expiry, lastAccessed, creationTime, isSecure, "
    "isHttpOnly) VALUES(?1,?3,?4,?2,?5,1800000000000,1700000000000000+?1,1700000000000000+?1,1,0)";

// Inserts each cookie with ?1 its key, ?2 host, ?3 name, ?4 value, ?5 path,
// ?6 top-frame site key.
void insertCookies(FixtureDatabase& db, const std::string& insert, const std::vector<StoredCookie>& cookies,
                   std::int64_t (*key)(std::size_t)) {
    std::vector<std::vector<std::optional<std::string>>> rows;
    for (std::size_t i = 0; i < cookies.size(); ++i) {
        rows.push_back({std::to_string(key(i)), cookies[i].host, cookies[i].name, cookies[i].value, cookies[i].path,
                        cookies[i].topFrameSiteKey});
    }
    db.insert(insert, rows);
}

std::int64_t mozillaId(std::size_t index) { return static_cast<std::int64_t>(index) + 1; }

void appendBe32(std::string& out, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<char>(value >> shift & 0xff));
}

void appendLe(std::string& out, std::uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) out.push_back(static_cast<char>(value >> (8 * i) & 0xff));
}

std::string record(const BinaryCookie& cookie) {
    std::string strings;
    if (cookie.port) appendLe(strings, *cookie.port, 2);
    std::uint32_t start = 56;
    std::uint32_t offsets[4];
    const std::string* texts[4] = {&cookie.domain, &cookie.name, &cookie.path, &cookie.value};
    for (int i = 0; i < 4; ++i) {
        offsets[i] = start + static_cast<std::uint32_t>(strings.size());
        strings += *texts[i];
        strings.push_back('\0');
    }
    std::string out;
    appendLe(out, 56 + strings.size(), 4);
    appendLe(out, 0, 4);
    appendLe(out, cookie.flags, 4);
    appendLe(out, cookie.port ? 1 : 0, 4);
    for (std::uint32_t offset : offsets) appendLe(out, offset, 4);
    appendLe(out, 0, 8);
    appendLe(out, std::bit_cast<std::uint64_t>(cookie.expires), 8);
    appendLe(out, std::bit_cast<std::uint64_t>(cookie.created), 8);
    return out + strings;
}

std::string pageBytes(const std::vector<BinaryCookie>& cookies) {
    std::string records;
    std::string header("\x00\x00\x01\x00", 4);
    appendLe(header, cookies.size(), 4);
    std::size_t offset = 8 + 4 * cookies.size() + 4;
    for (const BinaryCookie& cookie : cookies) {
        appendLe(header, offset + records.size(), 4);
        records += record(cookie);
    }
    appendLe(header, 0, 4);
    return header + records;
}

// {NSHTTPCookieAcceptPolicy: 2} as a binary property list.
constexpr unsigned char kDefaultPolicy[] = {
    0x62, 0x70, 0x6c, 0x69, 0x73, 0x74, 0x30, 0x30, 0xd1, 0x01, 0x02, 0x5f, 0x10, 0x18, 0x4e, 0x53, 0x48, 0x54, 0x54,
    0x50, 0x43, 0x6f, 0x6f, 0x6b, 0x69, 0x65, 0x41, 0x63, 0x63, 0x65, 0x70, 0x74, 0x50, 0x6f, 0x6c, 0x69, 0x63, 0x79,
    0x10, 0x02, 0x08, 0x0b, 0x26, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x03, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x28};

}  // namespace

std::vector<StoredCookie> exampleCookies() {
    return {
        {".news.example.net", "__utma"}, {"www.shop.example.de", "NID"},    {".ads.example.io", "UID_x"},
        {".news.example.net", "session"}, {"forum.example.org", "theme"},  {".mail.example.co.uk", "login"},
        {"www.example.info", "csrf"},     {".video.example.com", "volume"}, {".video.example.com", "quality"},
        {"blog.example.org", "draft"},    {".kept.com", "prefs"},           {"www.favourite.org", "lang"},
        {"shop.kept.com", "cart"},        {".kept.com", "__utmz"},          {"www.favourite.org", "IDE"},
    };
}

std::vector<std::string> exampleKeptSites() { return {"kept.com", "favourite.org"}; }

std::int64_t chromiumCreationTime(std::size_t index) { return 13300000000000000 + static_cast<std::int64_t>(index); }

void writeChromiumCookies(const std::string& path, ChromiumCookieSchema schema,
                          const std::vector<StoredCookie>& cookies) {
    FixtureDatabase db = createDatabase(path);
    struct Layout {
        int version, compatible;
        const char* schema;
        const char* insert;
    };
    const Layout layouts[] = {{4, 3, kChromiumV4, kChromiumV4Insert},
                              {20, 20, kChromiumV20, kChromiumV20Insert},
                              {24, 24, kChromiumV24, kChromiumV24Insert}};
    const Layout& layout = layouts[static_cast<int>(schema)];
    writeMeta(db, layout.version, layout.compatible);
    db.run(layout.schema);
    insertCookies(db, layout.insert, cookies, chromiumCreationTime);
}

void writeMozillaCookies(const std::string& path, MozillaCookieSchema schema,
                         const std::vector<StoredCookie>& cookies) {
    FixtureDatabase db = createDatabase(path);
    switch (schema) {
        case MozillaCookieSchema::Version2:
            db.run(std::string(kMozillaV2) + "PRAGMA user_version = 2;");
            insertCookies(db, kMozillaV2Insert, cookies, mozillaId);
            break;
        case MozillaCookieSchema::Version4:
            db.run(std::string(kMozillaV4) + "PRAGMA user_version = 4;");
            insertCookies(db, kMozillaV4Insert, cookies, mozillaId);
            break;
        case MozillaCookieSchema::Current:
            db.run(std::string(kMozillaCurrent) + "PRAGMA user_version = 14;");
            insertCookies(db, kMozillaCurrentInsert, cookies, mozillaId);
            break;
    }
}

void writeOriginBoundCerts(const std::string& path, const std::vector<std::optional<std::string>>& origins) {
    FixtureDatabase db = createDatabase(path);
    writeMeta(db, 3, 1);
    db.run("CREATE TABLE origin_bound_certs (origin TEXT NOT NULL UNIQUE PRIMARY KEY,private_key BLOB NOT NULL,"
           "cert BLOB NOT NULL,cert_type INTEGER,expiration_time INTEGER)");
    std::vector<std::vector<std::optional<std::string>>> rows;
    for (const auto& origin : origins) rows.push_back({origin});
    db.insert("INSERT INTO origin_bound_certs VALUES(?1,X'3082',X'3082',1,13400000000000000)", rows);
}

BinaryCookieFileBuilder& BinaryCookieFileBuilder::page(std::vector<BinaryCookie> cookies) {
    pages_.push_back(std::move(cookies));
    return *this;
}

std::string BinaryCookieFileBuilder::bytes() const {
    std::vector<std::string> pages;
    for (const auto& cookies : pages_) pages.push_back(pageBytes(cookies));
    std::string out("cook");
    appendBe32(out, static_cast<std::uint32_t>(pages.size()));
    for (const std::string& page : pages) appendBe32(out, static_cast<std::uint32_t>(page.size()));
    std::uint32_t checksum = 0;
    for (const std::string& page : pages) {
        out += page;
        for (std::size_t at = 0; at < page.size(); at += 4) checksum += static_cast<unsigned char>(page[at]);
    }
    appendBe32(out, checksum);
    out += std::string("\x07\x17\x20\x05", 4);
    appendBe32(out, sizeof kDefaultPolicy);
    out.append(reinterpret_cast<const char*>(kDefaultPolicy), sizeof kDefaultPolicy);
    return out;
}

void writeSampleCookieStores(const SampleHome& home) {
    const std::vector<StoredCookie> cookies = exampleCookies();
    const std::vector<std::optional<std::string>> certificates = {"kept.com", "www.kept.com", "example.net"};
    const std::string chrome = kChromeRoot;
    writeChromiumCookies(home.path(chrome + "/Default/Cookies"), ChromiumCookieSchema::Version20, cookies);
    writeChromiumCookies(home.path(chrome + "/Profile 1/Cookies"), ChromiumCookieSchema::Version4, cookies);
    writeOriginBoundCerts(home.path(chrome + "/Default/Origin Bound Certs"), certificates);
    writeChromiumCookies(home.path(std::string(kChromiumRoot) + "/Default/Cookies"), ChromiumCookieSchema::Version20,
                         cookies);
    writeChromiumCookies(home.path(std::string(kOperaRoot) + "/Cookies"), ChromiumCookieSchema::Version4, cookies);
    writeOriginBoundCerts(home.path(std::string(kOperaRoot) + "/Origin Bound Certs"), certificates);
    writeMozillaCookies(home.path(std::string(kFirefoxProfiles) + "/sample.default/cookies.sqlite"),
                        MozillaCookieSchema::Current, cookies);
    writeMozillaCookies(home.path(std::string(kFirefoxProfiles) + "/old.profile/cookies.sqlite"),
                        MozillaCookieSchema::Version4, cookies);
    writeMozillaCookies(home.path(kCaminoCookies), MozillaCookieSchema::Version2, cookies);

    std::vector<BinaryCookie> binary;
    for (const StoredCookie& cookie : cookies) binary.emplace_back(*cookie.host, *cookie.name, cookie.path, cookie.value);
    std::vector<BinaryCookie> first(binary.begin(), binary.begin() + 8), second(binary.begin() + 8, binary.end());
    home.writeFile(kBinaryCookieFile, BinaryCookieFileBuilder().page(first).page(second).bytes());
}

}  // namespace tasselby::testing
