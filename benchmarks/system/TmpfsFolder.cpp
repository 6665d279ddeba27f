#include "benchmarks/system/TmpfsFolder.h"

#include <cstdint>
#include <cstdlib>
#include <linux/magic.h>
#include <string>
#include <sys/vfs.h>

namespace storage::benchmark {

namespace {

constexpr std::uint64_t roomToHave = std::uint64_t{3} << 30;

bool willDo(const std::filesystem::path& folder) {
    struct statfs attributes {};
    return ::statfs(folder.c_str(), &attributes) == 0 && attributes.f_type == TMPFS_MAGIC &&
           static_cast<std::uint64_t>(attributes.f_bsize) * attributes.f_bavail >= roomToHave;
}

} // namespace

TmpfsFolder::TmpfsFolder() {
    for (const std::filesystem::path parent : {"/dev/shm", "/tmp", "/run"}) {
        std::string folder = parent / "qzstorage-XXXXXX";
        if (willDo(parent) && ::mkdtemp(folder.data()) != nullptr) {
            path_ = folder;
            return;
        }
    }
}

TmpfsFolder::~TmpfsFolder() {
    clear();
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
}

void TmpfsFolder::clear() noexcept {
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(path_, ignored)) {
        std::filesystem::remove_all(entry.path(), ignored);
    }
}

} // namespace storage::benchmark
