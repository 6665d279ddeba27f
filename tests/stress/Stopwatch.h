#pragma once

#include <chrono>

namespace storage::stress {

/// Measures the seconds since its construction. For printed figures only: no result may depend on them.
class Stopwatch {
public:
    double seconds() const {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    }

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

} // namespace storage::stress
