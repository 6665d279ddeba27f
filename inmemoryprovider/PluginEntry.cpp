#include "inmemoryprovider/PluginEntry.h"

#include <stdexcept>

void buildProvider_V1(std::shared_ptr<foundation::storage::provider::IProvider>* provider) {
    if (provider == nullptr) {
        throw std::invalid_argument("buildProvider_V1: the pointer to the provider's owner is null");
    }
    *provider = std::make_shared<storage::inmemoryprovider::InMemoryProvider>();
}

namespace storage::inmemoryprovider {

std::shared_ptr<InMemoryProvider> buildInMemoryProvider() {
    return std::make_shared<InMemoryProvider>();
}

} // namespace storage::inmemoryprovider
