#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace storage::inmemoryprovider {

/// A new, empty byte vector that carries the mutex which guards it.
/// @throws std::bad_alloc
std::shared_ptr<std::vector<std::uint8_t>> makeGuardedContent();

/// The mutex that guards `content`. Everybody who shares the bytes is given the same mutex, so a file and the
/// file that took over its bytes exclude each other.
///
/// The mutex lives as long as the bytes. Thread safety: may be called from any number of threads.
/// @param content  not null; a vector made elsewhere than by makeGuardedContent is guarded too
std::mutex& guardOf(const std::shared_ptr<std::vector<std::uint8_t>>& content) noexcept;

} // namespace storage::inmemoryprovider
