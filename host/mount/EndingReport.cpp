#include "host/mount/EndingReport.h"

#include "host/support/Utf.h"

#include <fmt/format.h>

namespace storage::host {

namespace {

constexpr std::size_t mostLines = 100;

} // namespace

EndingReport::EndingReport(Console& console, UnmountRequests& requests)
    : console_(console), requests_(requests) {
    console_.setObserver(this);
}

EndingReport::~EndingReport() {
    console_.setObserver(nullptr);
}

void EndingReport::failed(const Failure& failure) {
    if (count_++ < mostLines) {
        failures_.push_back(printableInMessage(failure.text()));
    }
}

void EndingReport::progressed(const std::string& line) {
    requests_.progress(line);
}

std::string EndingReport::summary() const {
    if (failures_.empty()) {
        return "";
    }
    return count_ > 1 ? fmt::format("{} (and {} more)", failures_.front(), count_ - 1) : failures_.front();
}

std::vector<std::string> EndingReport::lines() const {
    std::vector<std::string> lines = failures_;
    if (count_ > lines.size()) {
        lines.push_back(fmt::format("and {} more", count_ - lines.size()));
    }
    return lines;
}

} // namespace storage::host
