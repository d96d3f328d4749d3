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

}  // namespace tasselby
