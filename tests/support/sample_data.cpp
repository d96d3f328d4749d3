#include "support/sample_data.h"

#include "app/names.h"

namespace tasselby::testing {

void buildSampleHome(const SampleHome& home) {
    home.writeSuitePreferences({{kDisplayNotifications, true}});
    home.writeLocalState(kChromeRoot, {{"Default", "Person 1"}, {"Profile 1", "Work"}});
    home.writeLocalState(kChromiumRoot, {{"Default", "Person 1"}});
}

}  // namespace tasselby::testing
