#include "host/mount/MemoryPressure.h"

#include <fcntl.h>
#include <string_view>
#include <sys/prctl.h>
#include <unistd.h>

namespace storage::host {

namespace {

/// Above -1000, so that the OOM killer can still kill this process if no other one is left.
constexpr std::string_view lastToBeKilled = "-999";

} // namespace

void protectFromMemoryPressure() noexcept {
    ::prctl(PR_SET_IO_FLUSHER, 1, 0, 0, 0);
    const int file = ::open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC);
    if (file >= 0) {
        [[maybe_unused]] const auto written = ::write(file, lastToBeKilled.data(), lastToBeKilled.size());
        ::close(file);
    }
}

void allowWaitingForWriteBack() noexcept {
    ::prctl(PR_SET_IO_FLUSHER, 0, 0, 0, 0);
}

} // namespace storage::host
