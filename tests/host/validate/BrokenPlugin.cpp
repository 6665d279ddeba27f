#include "hostapi/storage/provider/ProviderEntryPoint.h"
#include "tests/host/validate/faults/FaultCatalogue.h"

#include <cstdlib>
#include <stdexcept>
#include <string_view>

/// A plug-in with one injected fault, named by the environment: BROKEN_PLUGIN=NAME.
extern "C" __attribute__((visibility("default")))
foundation::storage::provider::ProviderEntryPoint buildProvider_V1;

void buildProvider_V1(std::shared_ptr<foundation::storage::provider::IProvider>* provider) {
    const char* const wanted = std::getenv("BROKEN_PLUGIN");
    for (const Fault& fault : allFaults()) {
        if (wanted != nullptr && std::string_view(fault.name) == wanted) {
            *provider = fault.build();
            return;
        }
    }
    throw std::invalid_argument("BROKEN_PLUGIN names no fault");
}
