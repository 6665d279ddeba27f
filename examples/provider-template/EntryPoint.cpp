#include "TemplateProvider.h"

#include <hostapi/storage/provider/ProviderEntryPoint.h>

#include <memory>

// [entry point]
// The declaration checks the signature. "C" keeps the name that hosts look up. The attribute and exports.map
// export it from the library.
extern "C" __attribute__((visibility("default")))
foundation::storage::provider::ProviderEntryPoint buildProvider_V1;

void buildProvider_V1(std::shared_ptr<foundation::storage::provider::IProvider>* provider) {
    // A single assignment: if the constructor throws, the host's pointer is unchanged.
    *provider = std::make_shared<provider_template::TemplateProvider>();
}
// [entry point]
