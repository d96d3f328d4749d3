#include "linux/chromium_storage_keys.h"

#include <map>
#include <set>

#include "linux/web_origin.h"

namespace tasselby {

namespace {

constexpr std::string_view kMetaPrefix = "META:";
constexpr std::string_view kMetaAccessPrefix = "METAACCESS:";
constexpr char kDataPrefix = '_';
constexpr std::string_view kRegistrationPrefix = "REG:";
constexpr int kVersionIdField = 4;
constexpr int kIndexOriginField = 2;
constexpr int kIndexStorageKeyField = 3;

// Service-worker keys besides the registrations, each followed by an id or origin.
constexpr std::string_view kRegistrationOriginPrefix = "REGID_TO_ORIGIN:";
constexpr std::string_view kResourcePrefix = "RES:";
constexpr std::string_view kUserDataPrefix = "REG_USER_DATA:";
constexpr std::string_view kHasUserDataPrefix = "REG_HAS_USER_DATA:";
constexpr std::string_view kUniqueOriginPrefix = "INITDATA_UNIQUE_ORIGIN:";

// The text before the first zero byte of a key's remainder.
std::string_view beforeZero(std::string_view text) { return text.substr(0, text.find('\0')); }

// The two wire types of a protocol-buffer record that these records use,
// and the two fixed-size ones that must be stepped over.
constexpr int kVarint = 0;
constexpr int kFixed64 = 1;
constexpr int kLengthDelimited = 2;
constexpr int kFixed32 = 5;

// A reader of the fields of one protocol-buffer record. The records are
// tiny and only two of their fields are wanted, which is why no generated
// code is used: the browser's schema is not ours to ship.
class RecordReader {
public:
    explicit RecordReader(std::string_view bytes) : bytes_(bytes) {}

    struct Field {
        int number = 0;
        int wireType = 0;
        std::uint64_t number64 = 0;  // a varint's value
        std::string_view bytes;      // a length-delimited field's contents
    };

    // The next field; nothing at the end or at damaged bytes.
    std::optional<Field> next() {
        std::optional<std::uint64_t> tag = varint();
        if (!tag || *tag >> 3 == 0 || *tag >> 3 > 0x1FFFFFFF) return std::nullopt;
        Field field;
        field.number = static_cast<int>(*tag >> 3);
        field.wireType = static_cast<int>(*tag & 7);
        switch (field.wireType) {
            case kVarint: {
                std::optional<std::uint64_t> value = varint();
                if (!value) return std::nullopt;
                field.number64 = *value;
                return field;
            }
            case kLengthDelimited: {
                std::optional<std::uint64_t> length = varint();
                if (!length || *length > bytes_.size()) return std::nullopt;
                field.bytes = bytes_.substr(0, *length);
                bytes_.remove_prefix(*length);
                return field;
            }
            case kFixed64:
            case kFixed32: {
                std::size_t size = field.wireType == kFixed64 ? 8 : 4;
                if (size > bytes_.size()) return std::nullopt;
                bytes_.remove_prefix(size);
                return field;
            }
            default:
                return std::nullopt;
        }
    }

private:
    std::optional<std::uint64_t> varint() {
        std::uint64_t value = 0;
        for (int shift = 0; shift < 64 && !bytes_.empty(); shift += 7) {
            auto byte = static_cast<unsigned char>(bytes_.front());
            bytes_.remove_prefix(1);
            value |= static_cast<std::uint64_t>(byte & 0x7F) << shift;
            if ((byte & 0x80) == 0) return value;
        }
        return std::nullopt;
    }

    std::string_view bytes_;
};

}  // namespace

std::optional<std::string_view> ChromiumStorageKeys::localStorageKey(std::string_view key) {
    // "METAACCESS:" is tested first: it also begins with "META".
    if (key.starts_with(kMetaAccessPrefix)) return key.substr(kMetaAccessPrefix.size());
    if (key.starts_with(kMetaPrefix)) return key.substr(kMetaPrefix.size());
    if (key.empty() || key.front() != kDataPrefix) return std::nullopt;
    std::size_t end = key.find('\0');
    if (end == std::string_view::npos) return std::nullopt;
    return key.substr(1, end - 1);
}

std::optional<ChromiumStorageKeys::Registration> ChromiumStorageKeys::registrationKey(std::string_view key) {
    if (!key.starts_with(kRegistrationPrefix)) return std::nullopt;
    key.remove_prefix(kRegistrationPrefix.size());
    std::size_t separator = key.find('\0');
    if (separator == std::string_view::npos || separator == 0 || separator + 1 == key.size()) return std::nullopt;
    std::string_view id = key.substr(separator + 1);
    if (id.find_first_not_of("0123456789") != std::string_view::npos) return std::nullopt;
    return Registration{key.substr(0, separator), id};
}

std::optional<std::uint64_t> ChromiumStorageKeys::registrationVersion(std::string_view record) {
    RecordReader reader(record);
    while (std::optional<RecordReader::Field> field = reader.next()) {
        if (field->number == kVersionIdField && field->wireType == kVarint) return field->number64;
    }
    return std::nullopt;
}

ChromiumStorageKeys::ServiceWorkerDeletion ChromiumStorageKeys::serviceWorkerDeletion(
    const Entries& entries, const std::function<bool(const std::string& host)>& isKeptHost) {
    struct Owner {
        std::string key;
        std::string id;
        std::optional<std::uint64_t> version;
        WebOrigin origin;
    };
    std::vector<Owner> registrations;
    using Filed = std::map<std::string, std::vector<std::string>>;
    Filed keysById;       // REGID_TO_ORIGIN, user data
    Filed keysByVersion;  // RES
    std::vector<std::pair<std::string, WebOrigin>> uniqueOrigins;
    for (const auto& [key, value] : entries) {
        std::string_view rest = key;
        if (std::optional<Registration> registration = registrationKey(key)) {
            if (std::optional<WebOrigin> origin = WebOrigin::fromUrl(registration->origin)) {
                registrations.push_back({key, std::string(registration->id), registrationVersion(value), *origin});
            }
        } else if (rest.starts_with(kRegistrationOriginPrefix)) {
            keysById[std::string(rest.substr(kRegistrationOriginPrefix.size()))].push_back(key);
        } else if (rest.starts_with(kUserDataPrefix)) {
            keysById[std::string(beforeZero(rest.substr(kUserDataPrefix.size())))].push_back(key);
        } else if (rest.starts_with(kHasUserDataPrefix)) {
            std::size_t zero = rest.find('\0');
            if (zero != std::string_view::npos) keysById[std::string(rest.substr(zero + 1))].push_back(key);
        } else if (rest.starts_with(kResourcePrefix)) {
            keysByVersion[std::string(beforeZero(rest.substr(kResourcePrefix.size())))].push_back(key);
        } else if (rest.starts_with(kUniqueOriginPrefix)) {
            if (std::optional<WebOrigin> origin = WebOrigin::fromUrl(rest.substr(kUniqueOriginPrefix.size()))) {
                uniqueOrigins.emplace_back(key, *origin);
            }
        }
    }
    // A damaged store may file two registrations under one id or version; the
    // keys a kept registration shares with a removed one stay.
    std::set<std::string> keptIds;
    std::set<std::string> keptVersions;
    for (const Owner& registration : registrations) {
        if (!isKeptHost(registration.origin.host)) continue;
        keptIds.insert(registration.id);
        if (registration.version) keptVersions.insert(std::to_string(*registration.version));
    }
    ServiceWorkerDeletion deletion;
    std::set<std::string> taken;
    std::set<std::string> origins;
    auto take = [&](const std::string& key) {
        if (taken.insert(key).second) deletion.keys.push_back(key);
    };
    auto takeFiled = [&](const Filed& filed, const std::set<std::string>& kept, const std::string& under) {
        auto keys = filed.find(under);
        if (keys == filed.end() || kept.contains(under)) return;
        for (const std::string& key : keys->second) take(key);
    };
    for (const Owner& registration : registrations) {
        if (isKeptHost(registration.origin.host)) continue;
        take(registration.key);
        takeFiled(keysById, keptIds, registration.id);
        if (registration.version) takeFiled(keysByVersion, keptVersions, std::to_string(*registration.version));
        if (origins.insert(registration.origin.text()).second) deletion.origins.push_back(registration.origin.text());
    }
    for (const auto& [key, origin] : uniqueOrigins) {
        if (!isKeptHost(origin.host)) take(key);
    }
    return deletion;
}

std::optional<std::string> ChromiumStorageKeys::cacheStorageOrigin(std::string_view index) {
    RecordReader reader(index);
    std::optional<std::string> storageKey;
    while (std::optional<RecordReader::Field> field = reader.next()) {
        if (field->wireType != kLengthDelimited) continue;
        if (field->number == kIndexOriginField && !field->bytes.empty()) return std::string(field->bytes);
        if (field->number == kIndexStorageKeyField && !field->bytes.empty()) storageKey = std::string(field->bytes);
    }
    return storageKey;
}

}  // namespace tasselby
