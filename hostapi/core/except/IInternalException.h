#pragma once

#include "hostapi/core/except/IException.h"

namespace foundation::core::except {

/// Base of exceptions that stay inside one library and are translated before they leave it.
class QZFL_EXPORT IInternalException : public IException {
public:
    IInternalException() = default;
    /// Shares the error information.
    IInternalException(const IInternalException&) = default;
    /// Shares the error information.
    /// @return this exception
    IInternalException& operator=(const IInternalException&) = default;
    ~IInternalException() noexcept override;
};

} // namespace foundation::core::except
