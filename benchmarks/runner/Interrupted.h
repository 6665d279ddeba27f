#pragma once

#include <stdexcept>

namespace storage::benchmark {

/// Somebody asked the program to stop.
class Interrupted : public std::runtime_error {
public:
    Interrupted() : std::runtime_error("interrupted") {}
};

} // namespace storage::benchmark
