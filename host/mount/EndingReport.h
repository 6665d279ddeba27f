#pragma once

#include "host/console/Console.h"
#include "host/mount/UnmountRequests.h"

#include <cstddef>
#include <string>

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

private:
    Console& console_;
    UnmountRequests& requests_;
    std::string first_;     ///< failure, as text
    std::size_t count_ = 0; ///< of failures
};

} // namespace storage::host
