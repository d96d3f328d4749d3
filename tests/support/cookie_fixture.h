#pragma once

#include <gtest/gtest.h>

#include <algorithm>

#include "base/names.h"
#include "base/text.h"
#include "support/cookie_stores.h"
#include "support/delegate_fixture.h"

namespace tasselby::testing {

// Every browser with a cookie store of its own.
inline const char* const kCookieBrowsers[] = {kGoogleChrome, kChromium, kOpera, kFirefox, kCamino, kSafari};

// A temporary home, the fake platform over it and a delegate, with helpers
// that place cookie stores where each browser keeps them.
class CookieTest : public DelegateTest {
protected:
    std::string chromeFile(const std::string& profile, const std::string& file) const {
        return home.path(std::string(kChromeRoot) + "/" + profile + "/" + file);
    }
    std::string chromeCookies(const std::string& profile) const { return chromeFile(profile, "Cookies"); }
    std::string chromeCerts(const std::string& profile) const { return chromeFile(profile, "Origin Bound Certs"); }
    std::string firefoxCookies(const std::string& profile) const {
        return home.path(std::string(kFirefoxProfiles) + "/" + profile + "/cookies.sqlite");
    }
    std::string operaCookies() const { return home.path(std::string(kOperaRoot) + "/Cookies"); }

    // The example cookies in the store of the browser, in order; Chrome and
    // Chromium get one profile, "Default".
    void placeExample(const std::string& browser) {
        if (browser == kGoogleChrome) {
            home.writeLocalState(kChromeRoot, {{"Default", "Person 1"}});
            writeChromiumCookies(chromeCookies("Default"), ChromiumCookieSchema::Version20, exampleCookies());
        } else if (browser == kChromium) {
            home.writeLocalState(kChromiumRoot, {{"Default", "Person 1"}});
            writeChromiumCookies(home.path(std::string(kChromiumRoot) + "/Default/Cookies"),
                                 ChromiumCookieSchema::Version4, exampleCookies());
        } else if (browser == kOpera) {
            writeChromiumCookies(operaCookies(), ChromiumCookieSchema::Version4, exampleCookies());
        } else if (browser == kFirefox) {
            writeMozillaCookies(firefoxCookies("abc.default"), MozillaCookieSchema::Current, exampleCookies());
        } else if (browser == kCamino) {
            writeMozillaCookies(home.path(kCaminoCookies), MozillaCookieSchema::Version2, exampleCookies());
        } else {
            for (const StoredCookie& stored : exampleCookies()) {
                HttpCookie cookie;
                cookie.domain = *stored.host;
                cookie.name = *stored.name;
                cookie.storageKey = platform.cookieStorage.stored.size();
                platform.cookieStorage.stored.push_back(cookie);
            }
        }
    }
    // The names of the cookies left in the store placeExample() filled, sorted.
    std::vector<std::string> exampleStoreNames(const std::string& browser) const {
        if (browser == kGoogleChrome) return names(chromeCookies("Default"));
        if (browser == kChromium) return names(home.path(std::string(kChromiumRoot) + "/Default/Cookies"));
        if (browser == kOpera) return names(operaCookies());
        if (browser == kFirefox) return names(firefoxCookies("abc.default"), "moz_cookies");
        if (browser == kCamino) return names(home.path(kCaminoCookies), "moz_cookies");
        std::vector<std::string> left;
        for (const HttpCookie& cookie : platform.cookieStorage.stored) left.push_back(cookie.name);
        std::sort(left.begin(), left.end());
        return left;
    }
    std::vector<std::string> names(const std::string& database, const std::string& table = "cookies") const {
        return queryColumn(database, "SELECT name FROM " + table + " ORDER BY name");
    }

};

}  // namespace tasselby::testing
