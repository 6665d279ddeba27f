#pragma once

#include "host/support/Utf.h"

#include <stdexcept>
#include <string_view>

namespace storage::host {

/// A command line that cannot be understood. The text is the reason in plain words, with what the user wrote made
/// printable: it may hold NUL.
class UsageError : public std::runtime_error {
public:
    explicit UsageError(std::string_view reason) : std::runtime_error(printable(reason)) {}
};

} // namespace storage::host
