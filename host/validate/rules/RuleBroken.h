#pragma once

#include <stdexcept>

namespace storage::host {

/// A provider did not do what a rule says. The text says what was expected and what was seen.
class RuleBroken : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace storage::host
