#include "host/support/HomeFolder.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace storage::host {

std::optional<std::string> homeFolder() {
    // NOLINTBEGIN(concurrency-mt-unsafe): the caller excludes other threads
    const char* const set = std::getenv("HOME");
    if (set != nullptr && *set == '/') {
        return set;
    }
    const passwd* const user = ::getpwuid(::geteuid());
    // NOLINTEND(concurrency-mt-unsafe)
    return user != nullptr ? std::optional<std::string>(user->pw_dir) : std::nullopt;
}

} // namespace storage::host
