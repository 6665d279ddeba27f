#pragma once

#include "inmemoryprovider/PluginEntry.h"
#include "tests/support/HookedProvider.h"

#include <atomic>
#include <thread>

namespace faults {

/// Called where a broken provider lacks a lock. The first of two threads waits until the second arrives, so
/// that both are between the same two steps on any machine. The wait is bounded, because there may be no
/// other thread. Both then yield a few times, so that threads in other operations also run.
inline void openTheWindow() {
    constexpr int maxWaits = 1000;
    constexpr int yields = 20;
    static std::atomic<unsigned> arrivals = 0;
    const unsigned mine = ++arrivals;
    for (int i = 0; i < maxWaits && mine % 2 == 1 && arrivals == mine; ++i) {
        std::this_thread::yield();
    }
    for (int i = 0; i < yields; ++i) {
        std::this_thread::yield();
    }
}

/// The in-memory provider with hooks. Each derived class breaks one rule; its name or comment describes how.
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
