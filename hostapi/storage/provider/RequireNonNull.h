#pragma once

#include <memory>
#include <stdexcept>
#include <string>

namespace foundation::storage::provider {

/// Checks the stream or listing that an operation of a provider returned. The contract forbids null, but a
/// provider that returns it must not crash its host.
/// @param object  as returned
/// @param what    its name in the message, for example "stream"
/// @return the same object
/// @throws std::runtime_error when it is null
template <typename T>
std::unique_ptr<T> requireNonNull(std::unique_ptr<T> object, const char* what) {
    if (!object) {
        throw std::runtime_error(std::string("the plug-in returned no ") + what);
    }
    return object;
}

} // namespace foundation::storage::provider
