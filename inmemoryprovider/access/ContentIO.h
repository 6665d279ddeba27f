#pragma once

#include "hostapi/storage/provider/ByteStreamAppend.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <cstdint>
#include <ios>
#include <vector>

namespace storage::inmemoryprovider {

// Reads, writes and seeks in the bytes of a file. The caller owns the position, which is in bytes. Acquires
// no lock: the caller holds the mutex that guards the bytes.

/// Copies at most `count` bytes from `position` on; all remaining bytes if `count` is negative.
/// @return number of bytes copied; -1 if there are none, also with a `count` of 0. The position may be beyond
///     the end: emptying the file does not change it in other streams
long readContent(const std::vector<std::uint8_t>& content, char* buffer, long count, unsigned long& position);

/// Writes `count` bytes at the end or at `position`, and moves the position after them. Bytes written at or
/// beyond the end are appended without a gap. A negative `count` is treated as 0.
/// @return `count`
/// @throws std::bad_alloc, std::length_error  when the content cannot grow; bytes up to the old end remain
///     overwritten and the position is at or beyond the old end
long writeContent(std::vector<std::uint8_t>& content, const char* buffer, long count, unsigned long& position,
                  provider::ByteStreamAppend append);

/// Moves the position to `offset` bytes from `direction`, anywhere from the beginning to the end inclusive.
/// @return the new position; -1 with the position unchanged if the target is outside or the direction is
///     unknown
std::streampos seekContent(const std::vector<std::uint8_t>& content, long offset,
                           std::ios_base::seekdir direction, unsigned long& position);

} // namespace storage::inmemoryprovider
