#pragma once

#include "host/console/Console.h"
#include "host/mount/UnmountRequests.h"

#include <cstddef>
#include <string>
#include <vector>

namespace storage::host {

/// Collects the console's failures during one attempt to end a mount, for the process that requested the end.
///
/// Borrows console and requests. Observes the console during its lifetime. Not thread-safe.
class EndingReport final : public ConsoleObserver {
public:
    EndingReport(Console& console, UnmountRequests& requests);
    ~EndingReport() override;
    EndingReport(const EndingReport&) = delete;
    EndingReport& operator=(const EndingReport&) = delete;

    void failed(const Failure& failure) override;
    void progressed(const std::string& line) override;

    /// The first failure and the number of others.
    std::string summary() const;

    /// The failures, one line each. Limited to the first ones.
    std::vector<std::string> lines() const;

private:
    Console& console_;
    UnmountRequests& requests_;
    std::vector<std::string> failures_; ///< the first ones, as text
    std::size_t count_ = 0;             ///< of all failures
};

} // namespace storage::host
