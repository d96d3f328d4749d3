#include "support/sample_data.h"

#include "app/names.h"
#include "support/cookie_stores.h"
#include "support/password_stores.h"

namespace tasselby::testing {

void buildSampleHome(const SampleHome& home) {
    home.writeSuitePreferences({{kDisplayNotifications, true}});
    home.writeLocalState(kChromeRoot, {{"Default", "Person 1"}, {"Profile 1", "Work"}});
    home.writeLocalState(kChromiumRoot, {{"Default", "Person 1"}});
    writeFirefoxLogins(home, "k3x9ab2q.default", {"https://www.example.com", "https://accounts.example.org"});
    writeSampleCookieStores(home);
}

}  // namespace tasselby::testing
