#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace tasselby {

// A keep list hashed once, so that deciding many names against a long keep
// list stays linear in the names. It views the list's strings: the list must
// outlive the set and must not change while the set is used.
class KeepSet {
public:
    explicit KeepSet(const std::vector<std::string>& keep) : sites_(keep.begin(), keep.end()) {}

    // Exact, case-sensitive membership; a name without a site is never kept.
    bool contains(const std::optional<std::string>& site) const { return site && sites_.count(*site) != 0; }

private:
    std::unordered_set<std::string_view> sites_;
};

}  // namespace tasselby
