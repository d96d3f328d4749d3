#include "support/overwrite_pattern.h"

namespace tasselby::testing {

namespace {
constexpr std::size_t kBlock = 1024;
}

bool isLastPassPattern(const std::string& bytes) {
    if (bytes.empty() || bytes.find('\xFF') != std::string::npos) return false;
    // A random block of this size is never a single repeated byte; the
    // first two passes are.
    if (bytes.find_first_not_of(bytes[0]) == std::string::npos) return false;
    for (std::size_t i = kBlock; i < bytes.size(); ++i) {
        if (bytes[i] != bytes[i % kBlock]) return false;
    }
    return true;
}

}  // namespace tasselby::testing
