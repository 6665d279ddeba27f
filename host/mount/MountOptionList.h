#pragma once

#include "host/mount/MountOptions.h"

#include <string_view>

namespace storage::host {

/// Applies the options of a list as mount(8) and fstab(5) have them, separated by commas. A later one overrides an earlier
/// one. With "sloppy" among them, unknown ones are ignored. Paths stay as they are written.
/// @throws UsageError
void applyOptionList(std::string_view list, MountOptions& options);

} // namespace storage::host
