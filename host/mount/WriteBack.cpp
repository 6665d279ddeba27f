#include "host/mount/WriteBack.h"

#include <fmt/format.h>
#include <fstream>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace storage::host {

namespace {

constexpr int shareOfWaitingBytes =
    5; ///< percent of what the kernel lets wait for all disks together; usual is 1

} // namespace

void allowMoreWriteBack(const std::string& mountPoint) {
    struct stat status {};
    if (::stat(mountPoint.c_str(), &status) == 0) {
        std::ofstream(
            fmt::format("/sys/class/bdi/{}:{}/max_ratio", major(status.st_dev), minor(status.st_dev)))
            << shareOfWaitingBytes;
    }
}

} // namespace storage::host
