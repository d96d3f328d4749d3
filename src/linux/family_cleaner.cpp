#include "linux/family_cleaner.h"

#include "linux/chromium_profile_cleaner.h"
#include "linux/firefox_profile_cleaner.h"

namespace tasselby {

std::unique_ptr<FamilyCleaner> makeFamilyCleaner(BrowserFamily family, Platform& platform) {
    switch (family) {
        case BrowserFamily::Chromium:
            return std::make_unique<ChromiumProfileCleaner>(platform);
        case BrowserFamily::Firefox:
            return std::make_unique<FirefoxProfileCleaner>(platform);
    }
    return nullptr;
}

}  // namespace tasselby
