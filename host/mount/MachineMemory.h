#pragma once

#include "hostapi/storage/provider/ProviderStorageInfo.h"

#include <string>

namespace storage::host {

/// The memory that this process may use: the machine's, or what the narrowest control group around it allows. A value.
struct MachineMemory {
    foundation::storage::provider::ProviderStorageInfo info; ///< bytes
    std::string limitedBy;                                   ///< in words, with the path of a control group

    /// As it is now. Page cache that the kernel can drop counts as available.
    static MachineMemory read();
};

} // namespace storage::host
