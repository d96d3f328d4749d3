#pragma once

#include <stdexcept>
#include <string>

namespace tasselby {

// A failure that ends the whole run at once: no further cleaner runs and no
// notification is posted. Only main catches it.
class RunStopped : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A run stopped before any cleaner because now is not the time: the keyring
// is locked or did not answer in full, a browser is running. Nothing was
// removed, and the same run is worth trying again later.
class RunDeferred : public RunStopped {
public:
    using RunStopped::RunStopped;
};

}  // namespace tasselby
