#include "host/support/StateFolder.h"

#include <cstdlib>
#include <optional>
#include <pwd.h>
#include <unistd.h>

namespace storage::host {

namespace {

/// The path in an environment variable; nothing if it is not absolute.
std::optional<std::string> pathIn(const char* variable) {
    return variable != nullptr && *variable == '/' ? std::optional<std::string>(variable) : std::nullopt;
}

} // namespace

std::string stateFolder() {
    // NOLINTBEGIN(concurrency-mt-unsafe): no other thread is running yet
    if (const auto state = pathIn(std::getenv("XDG_STATE_HOME"))) {
        return *state + "/qzstorage";
    }
    const auto home = pathIn(std::getenv("HOME"));
    const passwd* const user = home ? nullptr : ::getpwuid(::geteuid());
    // NOLINTEND(concurrency-mt-unsafe)
    return home.value_or(user != nullptr ? user->pw_dir : "/var/tmp") + "/.local/state/qzstorage";
}

} // namespace storage::host
