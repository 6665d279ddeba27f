#include "hostapi/storage/provider/ProviderEntryPoint.h"

extern "C" __attribute__((visibility("default")))
foundation::storage::provider::ProviderEntryPoint buildProvider_V1;

/// Leaves the host's pointer empty.
void buildProvider_V1(std::shared_ptr<foundation::storage::provider::IProvider>*) {}
