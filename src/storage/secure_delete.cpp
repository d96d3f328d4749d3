#include "storage/secure_delete.h"

namespace tasselby {

// Overwriting is not built yet: every wipe fails, so nothing is removed
// under the secure switch.
bool SecureDelete::wipe(Platform&, const std::string&, int) { return false; }
bool SecureDelete::wipe(Platform&, const std::string&) { return false; }
bool SecureDelete::wipeContentsofDir(Platform&, const std::string&) { return false; }

}  // namespace tasselby
