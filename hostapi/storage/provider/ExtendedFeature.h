#pragma once

#include <cstdint>

namespace foundation::storage::provider {

/// Optional properties that a provider may claim. The values are part of the ABI.
enum class ExtendedFeature : std::int32_t {
    VolatileStorage = 6, ///< the content exists only as long as the provider object
};

static_assert(static_cast<std::int32_t>(ExtendedFeature::VolatileStorage) == 6);

} // namespace foundation::storage::provider
