#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <memory>
#include <span>

/// A provider that differs from the in-memory one and keeps the contract.
struct AllowedVariant {
    const char* name; ///< selects it in the broken plug-in
    std::shared_ptr<foundation::storage::provider::IProvider> (*build)();
};

std::span<const AllowedVariant> allowedVariants();
