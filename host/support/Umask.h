#pragma once

#include <sys/types.h>

namespace storage::host {

/// The permission bits that this process never gives new files. Not while another thread creates files.
mode_t currentUmask() noexcept;

} // namespace storage::host
