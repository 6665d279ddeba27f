#pragma once

#include <sstream>
#include <stdexcept>
#include <string>

namespace storage::stress {

/// A violated requirement of a provider, described in words.
class Violation : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// @param otherwise  parts of the message for a violation; concatenated only then
template <class... Pieces>
void requireThat(bool holds, const Pieces&... otherwise) {
    if (!holds) {
        std::ostringstream text;
        (text << ... << otherwise);
        throw Violation(text.str());
    }
}

} // namespace storage::stress
