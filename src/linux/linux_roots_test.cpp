#include "linux/linux_roots.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace tasselby {
namespace {

// Sets an environment variable for the life of the object, then restores it.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const char* value) : name_(name) {
        if (const char* old = std::getenv(name)) old_ = old;
        value ? setenv(name, value, 1) : unsetenv(name);
    }
    ~ScopedVariable() { old_ ? setenv(name_, old_->c_str(), 1) : unsetenv(name_); }

private:
    const char* name_;
    std::optional<std::string> old_;
};

TEST(LinuxRoots, XdgVariablesCountOnlyForOurOwnHomeAndOnlyWhenAbsolute) {
    struct Case {
        const char* config;
        const char* cache;
        bool homeOption;
        std::string expectedConfig;
        std::string expectedCache;
    };
    const Case cases[] = {
        {"/x/conf", "/x/cache/", false, "/x/conf", "/x/cache"},
        {"/x/conf", "/x/cache", true, "/h/.config", "/h/.cache"},
        {"relative/conf", "", false, "/h/.config", "/h/.cache"},
        {nullptr, nullptr, false, "/h/.config", "/h/.cache"},
    };
    for (const Case& each : cases) {
        ScopedVariable config("XDG_CONFIG_HOME", each.config);
        ScopedVariable cache("XDG_CACHE_HOME", each.cache);
        CommandLine line;
        if (each.homeOption) line.home = "/h";
        LinuxRoots roots = LinuxRoots::of(line, "/h");
        EXPECT_EQ(roots.home, "/h");
        EXPECT_EQ(roots.config, each.expectedConfig) << (each.config ? each.config : "unset");
        EXPECT_EQ(roots.cache, each.expectedCache) << (each.cache ? each.cache : "unset");
    }
}

}  // namespace
}  // namespace tasselby
