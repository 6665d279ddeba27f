#pragma once

#include <array>
#include <cstddef>

namespace storage::host {

/// Which providers a rule applies to.
enum class Profile {
    AnyProvider,      ///< every provider, with any kind of storage
    InMemoryProvider, ///< only the in-memory provider: others may behave differently
};

/// The names on the command line, in the order of the enumerators.
inline constexpr std::array profileNames{"any", "in-memory"};

constexpr const char* profileName(Profile profile) {
    return profileNames[static_cast<std::size_t>(profile)];
}

} // namespace storage::host
