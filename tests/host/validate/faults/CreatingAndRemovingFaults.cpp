#include "inmemoryprovider/PluginEntry.h"
#include "tests/host/HookedProvider.h"
#include "tests/host/validate/faults/FaultTables.h"

#include <array>

namespace faults {

using namespace foundation::storage::provider;

namespace {

/// A file that is there is created once more, as if nothing were.
class CreatingTwice final : public HookedProvider {
public:
    CreatingTwice() : HookedProvider(storage::inmemoryprovider::buildInMemoryProvider()) {}

    void doCreateFile(const StorageIRI& iri) const override {
        if (!doFileExists(iri)) {
            HookedProvider::doCreateFile(iri);
        }
    }
};

template <class Provider>
std::shared_ptr<IProvider> build() {
    return std::make_shared<Provider>();
}

constexpr std::array table{
    Fault{"CreatingTwice", "2.2", build<CreatingTwice>},
};

} // namespace

std::span<const Fault> creatingAndRemoving() {
    return table;
}

} // namespace faults
