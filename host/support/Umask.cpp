#include "host/support/Umask.h"

#include <sys/stat.h>

namespace storage::host {

mode_t currentUmask() noexcept {
    constexpr mode_t everything = 0777;
    const mode_t mask = ::umask(everything); // there is no other way to read it
    ::umask(mask);
    return mask;
}

} // namespace storage::host
