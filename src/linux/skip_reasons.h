#pragma once

namespace tasselby {

// Why the Linux layout left a store, a profile or an install alone: the
// "reason" of its report entry.
inline constexpr const char* kReasonRunningBrowser = "running browser";
inline constexpr const char* kReasonLocked = "locked";
inline constexpr const char* kReasonUnknownFormat = "unknown format";
inline constexpr const char* kReasonNotAFile = "not a plain file";
inline constexpr const char* kReasonNotWritable = "not writable";

}  // namespace tasselby
