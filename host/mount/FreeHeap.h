#pragma once

#include <cstdint>
#include <string>

namespace storage::host {

/// Makes all threads allocate from one heap, so that each can reuse what another one has freed. Freed blocks
/// of 4 MiB and more are returned to the system at once. Call it before the first thread starts.
void useOneHeap() noexcept;

/// Returns free memory of the heap to the system, as far as it fills whole pages.
void trimHeap() noexcept;

/// Free bytes of the heap that still occupy physical memory: after `trimHeap`, those between allocations that
/// share a page. Only small allocations fit there. Takes time proportional to the number of free blocks.
/// @param processes  where the kernel reports processes
/// @pre all threads use one heap; free memory of others is not counted
std::uint64_t readFreeHeap(const std::string& processes);

} // namespace storage::host
