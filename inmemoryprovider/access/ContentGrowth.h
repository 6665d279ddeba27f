#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace storage::inmemoryprovider {

// Growth of a file's bytes. No lock is taken: the caller holds the mutex that guards the bytes.

/// From this offset on, contents are on huge pages. The last one, which may be mostly unused, is at most a quarter of the
/// content.
inline constexpr std::size_t hugePagesFrom = 8U << 20U;

/// Appends `count` bytes. Capacity at least doubles when it runs out, so appending is amortized O(1) per byte. While a
/// large content is copied to a larger block, the pages of the old block are freed one block at a time, so the peak is
/// about the size and not twice that.
/// @throws std::bad_alloc, std::length_error  with `content` unchanged
void appendBytes(std::vector<std::uint8_t>& content, const std::uint8_t* bytes, std::size_t count);

/// Frees the unused part of the last huge page. The capacity is kept.
void trimSlack(std::vector<std::uint8_t>& content) noexcept;

} // namespace storage::inmemoryprovider
