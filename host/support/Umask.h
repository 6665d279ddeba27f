#pragma once

#include <sys/types.h>

namespace storage::host {

/// The umask of this process. Sets it for a moment, so no other thread may create files meanwhile.
mode_t currentUmask() noexcept;

} // namespace storage::host
