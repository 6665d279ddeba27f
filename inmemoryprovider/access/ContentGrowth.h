#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace storage::inmemoryprovider {

// Growth of a file's bytes. Acquires no lock: the caller holds the mutex that guards the bytes.

/// Contents use huge pages from this size on: for the bytes beyond it, and for all bytes after the next copy
/// to a larger block. The last huge page, which may be mostly unused, is at most a quarter of the content.
inline constexpr std::size_t hugePagesFrom = 8U << 20U;

/// Appends `count` bytes. If the capacity is exceeded, it is at least doubled, so appending is amortized O(1)
/// per byte. While a large content is copied to a larger block, its old pages are freed as soon as they are
/// copied. So the peak is about the size, not twice the size.
/// @throws std::bad_alloc, std::length_error  with `content` unchanged
void appendBytes(std::vector<std::uint8_t>& content, const std::uint8_t* bytes, std::size_t count);

/// Frees the unused part of the last huge page. Keeps the capacity.
void trimSlack(std::vector<std::uint8_t>& content) noexcept;

} // namespace storage::inmemoryprovider
