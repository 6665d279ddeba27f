#include "TemplateProvider.h"

#include <hostapi/storage/provider/ProviderEntryPoint.h>

#include <memory>

// [entry point]
// The declaration checks the signature; "C" keeps the name as hosts look it up; the attribute and exports.map let it out
// of the library.
extern "C" __attribute__((visibility("default")))
foundation::storage::provider::ProviderEntryPoint buildProvider_V1;

void buildProvider_V1(std::shared_ptr<foundation::storage::provider::IProvider>* provider) {
    // Assigned in one step: when the constructor throws, the host's pointer is as it was.
    *provider = std::make_shared<provider_template::TemplateProvider>();
}
// [entry point]
