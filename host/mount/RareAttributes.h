#pragma once

#include "host/mount/ExtendedAttributeSet.h"
#include "host/mount/OpenStream.h"
#include "host/mount/Owner.h"

#include <memory>
#include <optional>
#include <vector>

namespace storage::host {

class Alias;

/// Attributes that few inodes have. They exist only in the mount, and other inodes take no memory for them.
struct RareAttributes {
    std::optional<Owner> owner; ///< if it differs from the mount's default
    ExtendedAttributeSet extended;
    std::vector<Alias*> aliases;            ///< the further names; guarded by the tree's lock
    std::unique_ptr<OpenStream> lastStream; ///< of a detached file
};

} // namespace storage::host
