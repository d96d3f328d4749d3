#include "platform/property_list_defaults.h"

#include <plist/plist.h>

#include "platform/property_list_file.h"

namespace tasselby {

namespace {

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
    PropertyListFile file;
    if (file.load(folder_ + "/" + domain + ".plist") == PropertyListFile::LoadResult::Loaded && file.isDictionary()) {
        plist_t root = file.root();
        plist_dict_iter iterator = nullptr;
        plist_dict_new_iter(root, &iterator);
        for (;;) {
            char* key = nullptr;
            plist_t value = nullptr;
            plist_dict_next_item(root, iterator, &key, &value);
            if (key == nullptr) break;
            values[key] = isYes(value);
            std::free(key);
        }
        std::free(iterator);
    }
    return loaded_.emplace(domain, std::move(values)).first->second;
}

}  // namespace tasselby
