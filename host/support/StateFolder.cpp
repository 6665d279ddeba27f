#include "host/support/StateFolder.h"

#include "host/support/HomeFolder.h"

#include <cstdlib>

namespace storage::host {

std::string stateFolder() {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread is running yet
    const char* const state = std::getenv("XDG_STATE_HOME");
    if (state != nullptr && *state == '/') {
        return std::string(state) + "/qzstorage";
    }
    return homeFolder().value_or("/var/tmp") + "/.local/state/qzstorage";
}

} // namespace storage::host
