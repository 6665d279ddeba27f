#include "hostapi/storage/provider/ProviderEntryPoint.h"
#include "tests/host/validate/faults/FaultCatalogue.h"
#include "tests/host/validate/variants/AllowedVariants.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <stdexcept>
#include <string_view>

/// A plug-in with one injected fault or one allowed variant, selected by the environment variable
/// BROKEN_PLUGIN.
extern "C" __attribute__((visibility("default")))
foundation::storage::provider::ProviderEntryPoint buildProvider_V1;

void buildProvider_V1(std::shared_ptr<foundation::storage::provider::IProvider>* provider) {
    const char* const wanted = std::getenv("BROKEN_PLUGIN");
    const auto buildFrom = [&](const auto& table) {
        const auto found = std::find_if(std::begin(table), std::end(table), [&](const auto& each) {
            return wanted != nullptr && std::string_view(each.name) == wanted;
        });
        *provider = found == std::end(table) ? nullptr : found->build();
        return *provider != nullptr;
    };
    if (!buildFrom(allFaults()) && !buildFrom(allowedVariants())) {
        throw std::invalid_argument("BROKEN_PLUGIN names no fault and no variant");
    }
}
