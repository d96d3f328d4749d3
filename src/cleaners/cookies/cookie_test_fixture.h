#pragma once

#include <gtest/gtest.h>

#include "app/text.h"
#include "app/worker_app_delegate.h"
#include "platform/fake_platform.h"
#include "support/cookie_stores.h"
#include "support/sample_home.h"

namespace tasselby::testing {

// A temporary home, the fake platform over it and a delegate, with helpers
// that place cookie stores where each browser keeps them.
class CookieTest : public ::testing::Test {
protected:
    std::string chromeCookies(const std::string& profile) const {
        return home.path(appendingPathComponent(appendingPathComponent(kChromeRoot, profile), "Cookies"));
    }
    std::string chromeCerts(const std::string& profile) const {
        return home.path(appendingPathComponent(appendingPathComponent(kChromeRoot, profile), "Origin Bound Certs"));
    }
    std::string firefoxCookies(const std::string& profile) const {
        return home.path(std::string(kFirefoxProfiles) + "/" + profile + "/cookies.sqlite");
    }
    // The example cookies, in order, in the fake shared storage.
    void storeExampleInSharedStorage() {
        for (const StoredCookie& stored : exampleCookies()) {
            HttpCookie cookie;
            cookie.domain = *stored.host;
            cookie.name = *stored.name;
            cookie.storageKey = platform.cookieStorage.stored.size();
            platform.cookieStorage.stored.push_back(cookie);
        }
    }
    std::vector<std::string> names(const std::string& database, const std::string& table = "cookies") const {
        return queryColumn(database, "SELECT name FROM " + table + " ORDER BY name");
    }

    TemporaryFolder folder{"tasselby-cookies"};
    SampleHome home{folder.path()};
    FakePlatform platform{folder.path()};
    WorkerAppDelegate delegate{platform};
};

}  // namespace tasselby::testing
