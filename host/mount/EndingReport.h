#pragma once

#include "host/console/Console.h"
#include "host/mount/UnmountRequests.h"

#include <cstddef>
#include <string>
#include <vector>

namespace storage::host {

/// What the console says of one attempt to end a mount, for those who asked for the end.
///
/// Borrows console and requests; observes the console as long as it lives. Thread safety: one object is for one thread.
class EndingReport final : public ConsoleObserver {
public:
    EndingReport(Console& console, UnmountRequests& requests);
    ~EndingReport() override;
    EndingReport(const EndingReport&) = delete;
    EndingReport& operator=(const EndingReport&) = delete;

    void failed(const Failure& failure) override;
    void progressed(const std::string& line) override;

    /// The first failure, and how many there are besides.
    std::string summary() const;

    /// The failures, a line each. Of very many, the first ones.
    std::vector<std::string> lines() const;

private:
    Console& console_;
    UnmountRequests& requests_;
    std::vector<std::string> failures_; ///< the first ones, as text
    std::size_t count_ = 0;             ///< of all failures
};

} // namespace storage::host
