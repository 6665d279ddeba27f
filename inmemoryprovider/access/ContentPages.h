#pragma once

#include <cstddef>
#include <cstdint>

namespace storage::inmemoryprovider {

// Hints to the kernel about the pages of private anonymous memory, as allocators return it. If the kernel
// does not support or follow a hint, only time or memory is lost. errno is preserved.

/// Requests huge pages for the part of the memory that is aligned to them. Call it before the first access. A
/// huge page causes one page fault instead of 512.
void adviseHugePages(std::uint8_t* memory, std::size_t size) noexcept;

/// Number of bytes from `address` to the next huge page boundary.
std::size_t leftInHugePage(const std::uint8_t* address) noexcept;

/// Maps all pages that overlap the memory, with one system call instead of a page fault for each. Does not
/// change the bytes.
void populatePages(std::uint8_t* memory, std::size_t size) noexcept;

/// Frees the whole pages within the memory, which read as zeros afterwards. The addresses stay allocated.
void freePages(std::uint8_t* memory, std::size_t size) noexcept;

} // namespace storage::inmemoryprovider
