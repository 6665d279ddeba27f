#pragma once

#include <stdexcept>

namespace storage::host {

/// A command line that cannot be understood. The text is the reason in plain words.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace storage::host
