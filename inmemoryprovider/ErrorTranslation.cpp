#include "inmemoryprovider/ErrorTranslation.h"

#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"

namespace storage::inmemoryprovider {

void ErrorTranslation::raise(const std::optional<HostError>& error, const provider::StorageIRI& source,
                             const provider::StorageIRI& destination) {
    if (!error) {
        throw;
    }
    const bool blameSource = error->location == HostError::Location::Source;
    throw provider::Exception(error->code, blameSource ? source : destination);
}

} // namespace storage::inmemoryprovider
