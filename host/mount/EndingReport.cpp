#include "host/mount/EndingReport.h"

#include "host/support/Utf.h"

#include <fmt/format.h>

namespace storage::host {

EndingReport::EndingReport(Console& console, UnmountRequests& requests)
    : console_(console), requests_(requests) {
    console_.setObserver(this);
}

EndingReport::~EndingReport() {
    console_.setObserver(nullptr);
}

void EndingReport::failed(const Failure& failure) {
    if (count_++ == 0) {
        first_ = printableInMessage(failure.text());
    }
}

void EndingReport::progressed(const std::string& line) {
    requests_.progress(line);
}

std::string EndingReport::summary() const {
    return count_ > 1 ? fmt::format("{} (and {} more)", first_, count_ - 1) : first_;
}

} // namespace storage::host
