#include "host/validate/kit/CopiedPlugin.h"

#include <cerrno>
#include <fstream>
#include <sys/mman.h>
#include <system_error>
#include <unistd.h>

namespace storage::host {

CopiedPlugin::CopiedPlugin(const std::string& path) : copy_(::memfd_create("copied-plug-in", MFD_CLOEXEC)) {
    if (copy_ < 0) {
        throw std::system_error(errno, std::generic_category(), "memfd_create");
    }
    const std::string copied = "/proc/self/fd/" + std::to_string(copy_);
    std::ofstream(copied, std::ios_base::binary) << std::ifstream(path, std::ios_base::binary).rdbuf();
    library_.emplace(copied);
}

CopiedPlugin::~CopiedPlugin() {
    library_.reset();
    ::close(copy_);
}

} // namespace storage::host
