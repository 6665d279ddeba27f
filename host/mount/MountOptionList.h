#pragma once

#include "host/mount/MountOptions.h"

#include <string_view>

namespace storage::host {

/// Applies a comma-separated list of options of mount(8) and fstab(5). A later option overrides an earlier
/// one. If the list contains "sloppy", unknown options are ignored. Paths are not converted.
/// @throws UsageError
void applyOptionList(std::string_view list, MountOptions& options);

} // namespace storage::host
