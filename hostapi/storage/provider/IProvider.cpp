#include "hostapi/storage/provider/IProvider.h"

namespace foundation::storage::provider {

// Not inline: the vtable is emitted where the first virtual function is defined.
IProvider::~IProvider() = default;

} // namespace foundation::storage::provider
