#pragma once

#include <cerrno>
#include <system_error>

namespace storage::host {

/// The result of a system call that tells a failure by a negative number.
/// @param call  its name, for people
/// @throws std::system_error
inline int checked(int result, const char* call) {
    if (result < 0) {
        throw std::system_error(errno, std::generic_category(), call);
    }
    return result;
}

} // namespace storage::host
