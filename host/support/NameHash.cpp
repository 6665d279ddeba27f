#include "host/support/NameHash.h"

namespace storage::host {

std::uint64_t nameHash(std::string_view name) noexcept {
    std::uint64_t hash = 0xcbf29ce484222325U;
    for (const char byte : name) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3U;
    }
    return hash;
}

} // namespace storage::host
