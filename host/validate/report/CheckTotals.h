#pragma once

#include "host/process/CheckResult.h"

#include <cstddef>
#include <string>

namespace storage::host {

/// How many checks ended how. A value.
struct CheckTotals {
    std::size_t passed = 0;
    std::size_t failed = 0;
    std::size_t crashed = 0;
    std::size_t skipped = 0;

    void count(CheckResult result);
    CheckTotals& operator+=(const CheckTotals& other);

    std::size_t all() const { return passed + failed + crashed + skipped; }
    bool allKept() const { return failed + crashed == 0; }

    /// "5 passed, 1 failed", without what there is none of.
    std::string summary() const;
};

} // namespace storage::host
