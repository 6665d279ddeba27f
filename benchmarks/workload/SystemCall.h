#pragma once

#include <cerrno>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <sys/types.h>
#include <system_error>

namespace storage::benchmark {

/// Returns the result of a system call.
/// @throws std::system_error when it is negative
template <typename Result>
Result checked(Result result, const char* what) {
    if (result < 0) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    return result;
}

/// @throws std::system_error, or std::runtime_error when the transfer is incomplete
inline void checkComplete(ssize_t transferred, std::size_t wanted, const char* what) {
    if (checked(transferred, what) != static_cast<ssize_t>(wanted)) {
        throw std::runtime_error(std::string(what) + ": incomplete transfer");
    }
}

} // namespace storage::benchmark
