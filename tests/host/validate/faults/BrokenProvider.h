#pragma once

#include "inmemoryprovider/PluginEntry.h"
#include "tests/support/HookedProvider.h"

namespace faults {

/// The in-memory provider with hooks. Each derived class breaks one rule; its comment describes the fault.
class BrokenProvider : public HookedProvider {
public:
    using IProvider = foundation::storage::provider::IProvider;

    BrokenProvider() : BrokenProvider(storage::inmemoryprovider::buildInMemoryProvider()) {}

    // Without hooks: a hooked stream refers to the provider, which it may outlive.
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        return sound().doOpenStream(iri, options);
    }
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        return sound().doOpenReadOnlyStream(iri);
    }

protected:
    /// Returns the provider without the fault.
    const IProvider& sound() const { return *sound_; }
    const std::shared_ptr<const IProvider>& sharedSound() const { return sound_; }

private:
    explicit BrokenProvider(const std::shared_ptr<const IProvider>& provider)
        : HookedProvider(provider), sound_(provider) {}

    std::shared_ptr<const IProvider> sound_;
};

inline foundation::storage::provider::StorageIRI
folderOf(const foundation::storage::provider::StorageIRI& iri) {
    return foundation::storage::provider::StorageIRI(iri.getPath().substr(0, iri.getPath().rfind(u'/')));
}

template <class Provider>
std::shared_ptr<foundation::storage::provider::IProvider> build() {
    return std::make_shared<Provider>();
}

} // namespace faults
