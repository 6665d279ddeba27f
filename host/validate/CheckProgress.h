#pragma once

#include "host/console/Console.h"
#include "host/validate/rules/Check.h"

#include <cstddef>

namespace storage::host {

/// Shows the current check on the terminal.
///
/// Borrows the console. The destructor clears the progress line. Not thread-safe.
class CheckProgress {
public:
    /// @param all  total number of checks
    CheckProgress(Console& console, std::size_t all) : console_(console), all_(all) {}
    ~CheckProgress();
    CheckProgress(const CheckProgress&) = delete;
    CheckProgress& operator=(const CheckProgress&) = delete;

    void begin(const Check& check);

private:
    Console& console_;
    std::size_t all_;
    std::size_t begun_ = 0;
};

} // namespace storage::host
