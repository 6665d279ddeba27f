#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <memory>

/// One way in which a provider can be broken, the in-memory one otherwise.
struct Fault {
    const char* name;     ///< for example "CreatingTwice"; the broken plug-in is told it
    const char* caughtBy; ///< number of the rule that it breaks
    std::shared_ptr<foundation::storage::provider::IProvider> (*build)();
};
