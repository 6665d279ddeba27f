#pragma once

#include "host/support/Utf.h"

#include <stdexcept>
#include <string_view>

namespace storage::host {

/// An invalid command line or argument. The text is the reason. Control characters and ill-formed bytes in it
/// are escaped.
class UsageError : public std::runtime_error {
public:
    explicit UsageError(std::string_view reason) : std::runtime_error(printable(reason)) {}
};

} // namespace storage::host
