#pragma once

#include <sstream>
#include <stdexcept>
#include <string>

namespace storage::stress {

/// The provider did what it must not do. What it was, in plain words.
class Fault : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// @param otherwise  what is wrong when it does not hold, in pieces that are put together only then
template <class... Pieces>
void requireThat(bool holds, const Pieces&... otherwise) {
    if (!holds) {
        std::ostringstream text;
        (text << ... << otherwise);
        throw Fault(text.str());
    }
}

} // namespace storage::stress
