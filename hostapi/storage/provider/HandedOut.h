#pragma once

#include <memory>
#include <stdexcept>
#include <string>

namespace foundation::storage::provider {

/// Passes on a stream or listing that a provider handed out. A provider that keeps its word never hands out an
/// empty pointer; one that does not must not take its host down.
/// @param object  what was handed out
/// @param what    names it for people, for example "stream"
/// @return the same object
/// @throws std::runtime_error when there is none
template <typename T>
std::unique_ptr<T> handedOut(std::unique_ptr<T> object, const char* what) {
    if (!object) {
        throw std::runtime_error(std::string("the plug-in handed out no ") + what);
    }
    return object;
}

} // namespace foundation::storage::provider
