#include "linux/linux_roots.h"

#include <cstdlib>

#include "base/text.h"

namespace tasselby {

namespace {

constexpr const char* kConfigFolder = ".config";
constexpr const char* kCacheFolder = ".cache";
constexpr const char* kConfigHomeVariable = "XDG_CONFIG_HOME";
constexpr const char* kCacheHomeVariable = "XDG_CACHE_HOME";

// An unset or empty variable, or one that is not an absolute path, is not
// used: the base-directory rules say to ignore a relative one.
std::string fromEnvironment(const char* variable, const std::string& fallback) {
    const char* value = std::getenv(variable);
    if (value == nullptr || value[0] != '/') return fallback;
    return appendingPathComponent(value, "");
}

}  // namespace

LinuxRoots LinuxRoots::inHome(const std::string& home) {
    return {home, appendingPathComponent(home, kConfigFolder), appendingPathComponent(home, kCacheFolder)};
}

LinuxRoots LinuxRoots::of(const CommandLine& commandLine, const std::string& home) {
    LinuxRoots roots = inHome(home);
    if (commandLine.home) return roots;
    roots.config = fromEnvironment(kConfigHomeVariable, roots.config);
    roots.cache = fromEnvironment(kCacheHomeVariable, roots.cache);
    return roots;
}

}  // namespace tasselby
