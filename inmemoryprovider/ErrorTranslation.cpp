#include "inmemoryprovider/ErrorTranslation.h"

#include "hostapi/storage/provider/Exception.h"

namespace storage::inmemoryprovider {

void ErrorTranslation::raise(const std::optional<HostError>& error,
                             const foundation::storage::provider::StorageIRI& source,
                             const foundation::storage::provider::StorageIRI& destination) {
    if (!error) {
        throw;
    }
    const bool blameSource = error->location == HostError::Location::Source;
    throw foundation::storage::provider::Exception(error->code, blameSource ? source : destination);
}

} // namespace storage::inmemoryprovider
