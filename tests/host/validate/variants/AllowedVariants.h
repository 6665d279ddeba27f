#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <memory>
#include <span>

/// A provider that differs from the in-memory provider and still keeps the contract.
struct AllowedVariant {
    const char* name; ///< name by which BROKEN_PLUGIN selects it
    std::shared_ptr<foundation::storage::provider::IProvider> (*build)();
};

std::span<const AllowedVariant> allowedVariants();
