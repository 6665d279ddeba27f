#pragma once

#include "host/console/Console.h"
#include "host/validate/rules/Check.h"

#include <cstddef>

namespace storage::host {

/// Shows a person at a terminal which check is under way.
///
/// Borrows the console; its progress line is gone after the object. Thread safety: one object is for one thread.
class CheckProgress {
public:
    /// @param all  how many checks there are going to be
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
