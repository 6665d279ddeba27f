#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace storage::inmemoryprovider {

/// Bytes that carry the mutex which guards them, so that all who share the bytes lock the same one.
struct GuardedContent : std::vector<std::uint8_t> {
    std::mutex mutex;
};

/// New, empty bytes.
/// @throws std::bad_alloc
std::shared_ptr<std::vector<std::uint8_t>> makeGuardedContent();

/// Whether `content` comes from makeGuardedContent, and so is a GuardedContent. Other vectors are to be guarded by
/// guardAt their address.
bool isGuardedContent(const std::shared_ptr<std::vector<std::uint8_t>>& content) noexcept;

/// A mutex chosen by an address, for what has no room for one of its own. Objects may share one, which costs time
/// but is safe as long as nobody holds two of them.
std::mutex& guardAt(const void* address) noexcept;

} // namespace storage::inmemoryprovider
