#pragma once

#include "host/mount/Owner.h"

#include <optional>

namespace storage::host {

/// The attributes that few entries have, kept by the mount only. A value.
struct RareAttributes {
    std::optional<Owner> owner; ///< if it differs from the mount's default
};

} // namespace storage::host
