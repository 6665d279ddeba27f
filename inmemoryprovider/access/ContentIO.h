#pragma once

#include "hostapi/storage/provider/ByteStreamAppend.h"

#include <cstdint>
#include <ios>
#include <vector>

namespace storage::inmemoryprovider {

// Reading, writing and seeking in the bytes of a file at a position that the caller keeps, in bytes. No lock
// is taken: the caller holds the mutex that guards the bytes, and the position is its own.

/// Copies at most `count` bytes from `position` on; a negative `count` asks for all that are left.
/// @return number of bytes copied, or -1 when there is none to copy, also with a `count` of 0 and with a position
///         behind the end, which emptying a file leaves to its other streams
long readContent(const std::vector<std::uint8_t>& content, char* buffer, long count, unsigned long& position);

/// Writes `count` bytes at the end or at `position`, and puts the position behind them. What is written at or
/// behind the end is joined to the end, without a gap. A negative `count` acts like 0.
/// @return `count`
/// @throws std::bad_alloc, std::length_error  when the content cannot grow; bytes overwritten up to the old end
///         stay so and the position is there
long writeContent(std::vector<std::uint8_t>& content, const char* buffer, long count, unsigned long& position,
                  foundation::storage::provider::ByteStreamAppend append);

/// Moves the position to `offset` bytes from `direction`, anywhere from the beginning to the end inclusive.
/// @return the new position; -1 with the position unchanged when it would lie elsewhere or the direction is unknown
std::streampos seekContent(const std::vector<std::uint8_t>& content, long offset,
                           std::ios_base::seekdir direction, unsigned long& position);

} // namespace storage::inmemoryprovider
