#pragma once

#include <stdexcept>

namespace storage::host {

/// A check has nothing to say of this provider on this machine. The text says why.
class CheckSkipped : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace storage::host
