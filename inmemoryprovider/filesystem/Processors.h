#pragma once

#include <cstddef>

namespace storage::inmemoryprovider {

/// One more than the highest number of a processor on which the calling thread may run.
std::size_t processorNumberEnd() noexcept;

/// The number of the processor on which the calling thread runs. It may be outdated when the function
/// returns. Makes no system call if the C library and the kernel support restartable sequences.
std::size_t currentProcessor() noexcept;

} // namespace storage::inmemoryprovider
