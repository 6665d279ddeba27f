#pragma once

#include <system_error>

namespace storage::host {

/// The standard output takes no more. It ends the session, as nobody would see what follows.
class OutputError : public std::system_error {
public:
    /// @param error  the errno of the write that failed
    explicit OutputError(int error) : std::system_error(error, std::generic_category()) {}
};

} // namespace storage::host
