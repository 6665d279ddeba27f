#include "hostapi/storage/provider/ProviderEntryPoint.h"

#include <stdexcept>

extern "C" __attribute__((visibility("default")))
foundation::storage::provider::ProviderEntryPoint buildProvider_V1;

/// Cannot make a provider, for a reason that takes two lines.
void buildProvider_V1(std::shared_ptr<foundation::storage::provider::IProvider>*) {
    throw std::runtime_error("no licence\nfound");
}
