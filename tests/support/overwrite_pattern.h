#pragma once

#include <string>

namespace tasselby::testing {

// Whether the bytes are what the last overwrite pass leaves: one block of
// 1024 varied bytes repeated (the last copy cut short), never a byte 0xFF.
bool isLastPassPattern(const std::string& bytes);

}  // namespace tasselby::testing
