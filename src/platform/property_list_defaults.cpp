#include "platform/property_list_defaults.h"

#include <plist/plist.h>

#include <limits>
#include <memory>

#include "platform/posix_files.h"

namespace tasselby {

namespace {

struct PlistFree {
    void operator()(plist_t node) const { plist_free(node); }
};
using PlistPtr = std::unique_ptr<void, PlistFree>;

// Reads the file's bytes and lets libplist tell binary from XML. Kept in one
// place because the parser's signature changed in later libplist releases.
PlistPtr readPropertyList(const std::string& path) {
    std::optional<std::string> bytes = PosixFiles::readWholeFile(path);
    if (!bytes || bytes->empty() || bytes->size() > std::numeric_limits<uint32_t>::max()) return nullptr;
    plist_t root = nullptr;
    plist_from_memory(bytes->data(), static_cast<uint32_t>(bytes->size()), &root);
    return PlistPtr(root);
}

bool isYes(plist_t node) {
    switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            uint8_t value = 0;
            plist_get_bool_val(node, &value);
            return value != 0;
        }
        case PLIST_UINT: {
            // Integers, signed ones included, are UINT nodes; only 1 reads YES.
            uint64_t value = 0;
            plist_get_uint_val(node, &value);
            return value == 1;
        }
        default:
            return false;
    }
}

}  // namespace

PropertyListDefaults::PropertyListDefaults(std::string preferencesFolder) : folder_(std::move(preferencesFolder)) {}

void PropertyListDefaults::addDomain(const std::string& domain) {
    for (const std::string& known : domains_) {
        if (known == domain) return;
    }
    domains_.push_back(domain);
}

bool PropertyListDefaults::boolForKey(const std::string& key) {
    for (const std::string& domain : domains_) {
        const Values& values = valuesOf(domain);
        auto found = values.find(key);
        if (found != values.end()) return found->second;
    }
    return false;
}

const PropertyListDefaults::Values& PropertyListDefaults::valuesOf(const std::string& domain) {
    auto cached = loaded_.find(domain);
    if (cached != loaded_.end()) return cached->second;
    Values values;
    PlistPtr root = readPropertyList(folder_ + "/" + domain + ".plist");
    if (root && plist_get_node_type(root.get()) == PLIST_DICT) {
        plist_dict_iter iterator = nullptr;
        plist_dict_new_iter(root.get(), &iterator);
        for (;;) {
            char* key = nullptr;
            plist_t value = nullptr;
            plist_dict_next_item(root.get(), iterator, &key, &value);
            if (key == nullptr) break;
            values[key] = isYes(value);
            std::free(key);
        }
        std::free(iterator);
    }
    return loaded_.emplace(domain, std::move(values)).first->second;
}

}  // namespace tasselby
