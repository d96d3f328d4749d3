#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tasselby {

// User defaults read from Apple property lists, "DOMAIN.plist" in a
// preferences folder, binary or XML. Domains are searched in the order they
// were added; the first that holds a key answers for it. Read-only.
class PropertyListDefaults {
public:
    explicit PropertyListDefaults(std::string preferencesFolder);

    void addDomain(const std::string& domain);
    // YES for a boolean true or the integer 1; NO for anything else, a
    // missing key or an unreadable file.
    bool boolForKey(const std::string& key);

private:
    // The value of a key in one domain: 1 for YES, 0 for any other value,
    // nothing when the domain does not hold it.
    using Values = std::map<std::string, bool>;
    const Values& valuesOf(const std::string& domain);

    std::string folder_;
    std::vector<std::string> domains_;
    std::map<std::string, Values> loaded_;
};

}  // namespace tasselby
