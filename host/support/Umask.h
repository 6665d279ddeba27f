#pragma once

#include <sys/types.h>

namespace storage::host {

/// Returns the umask of this process. Sets and restores it, so no other thread may create files meanwhile.
mode_t currentUmask() noexcept;

} // namespace storage::host
