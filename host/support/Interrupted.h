#pragma once

#include <exception>

namespace storage::host {

/// Unwinds a command that the user asked to stop. Only the shell catches it for good; everything on the way
/// cleans up and lets it pass.
class Interrupted : public std::exception {
public:
    const char* what() const noexcept override { return "interrupted"; }
};

} // namespace storage::host
