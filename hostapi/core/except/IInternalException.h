#pragma once

#include "hostapi/core/except/IException.h"

namespace foundation::core::except {

/// Base of exceptions that stay inside one library and are translated before they leave it.
class QZFL_EXPORT IInternalException : public IException {
public:
    IInternalException() = default;
    IInternalException(const IInternalException&) = default;
    IInternalException& operator=(const IInternalException&) = default;
    ~IInternalException() noexcept override;
};

} // namespace foundation::core::except
