#include "host/support/Umask.h"

#include <sys/stat.h>

namespace storage::host {

mode_t currentUmask() noexcept {
    constexpr mode_t everything = 0777;
    const mode_t mask = ::umask(everything); // the only way to read the umask is to set it
    ::umask(mask);
    return mask;
}

} // namespace storage::host
