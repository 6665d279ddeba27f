#include "hostapi/core/except/IInternalException.h"

namespace foundation::core::except {

IInternalException::~IInternalException() noexcept = default;

} // namespace foundation::core::except
