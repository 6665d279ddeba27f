#include "host/validate/CheckContext.h"
#include "host/validate/Expectations.h"
#include "host/validate/checks/CheckGroups.h"

namespace storage::host::checks {

std::span<const Check> entryPoint() {
    return {};
}

} // namespace storage::host::checks
