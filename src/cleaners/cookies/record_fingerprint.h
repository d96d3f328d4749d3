#pragma once

#include <compare>
#include <cstdint>

#include "platform/platform.h"
#include "storage/sqlite.h"

namespace tasselby {

// 128 bits that stand for a whole cookie record, so that the inventory can
// hold each record once without keeping every column of every row: two
// records get the same fingerprint when they are the same stored cookie, or
// rows equal in every column value (doubles compared bit for bit). Different
// records share one only by a hash collision of two unrelated 64-bit hashes,
// which no real store of cookies comes near.
struct RecordFingerprint {
    std::uint64_t first = 0;
    std::uint64_t second = 0;
    auto operator<=>(const RecordFingerprint&) const = default;
};

RecordFingerprint fingerprintOf(const SqlRow& row);
RecordFingerprint fingerprintOf(const HttpCookie& cookie);

}  // namespace tasselby
