#pragma once

#include <cstddef>
#include <cstdint>

namespace storage::inmemoryprovider {

// Hints to the kernel about the pages of private anonymous memory, as allocators return it. Where the kernel does not know
// or follow a hint, only time or memory is lost. errno is preserved.

/// Asks for huge pages for the whole ones within the memory. Must come before the memory is touched. A huge page takes one
/// page fault instead of 512.
void adviseHugePages(std::uint8_t* memory, std::size_t size) noexcept;

/// How many bytes are left from `address` to the beginning of the next huge page.
std::size_t leftInHugePage(const std::uint8_t* address) noexcept;

/// Maps all pages that the memory touches, with one system call instead of a page fault for each. The bytes stay.
void populatePages(std::uint8_t* memory, std::size_t size) noexcept;

/// Frees the whole pages within the memory, which read as zeros afterwards. The addresses stay allocated.
void freePages(std::uint8_t* memory, std::size_t size) noexcept;

} // namespace storage::inmemoryprovider
