#pragma once

#include <cerrno>
#include <system_error>

namespace storage::host {

/// Returns the result of a system call, and throws if it is negative.
/// @param call  name of the call, for the message
/// @throws std::system_error with errno
inline int checked(int result, const char* call) {
    if (result < 0) {
        throw std::system_error(errno, std::generic_category(), call);
    }
    return result;
}

} // namespace storage::host
