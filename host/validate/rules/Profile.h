#pragma once

#include <array>
#include <cstddef>

namespace storage::host {

/// Selects the rules that apply to a provider.
enum class Profile {
    AnyProvider,      ///< rules for every provider, with any kind of storage
    InMemoryProvider, ///< also rules that only the in-memory provider must keep
};

/// The names on the command line, in the order of the enumerators.
inline constexpr std::array profileNames{"any", "in-memory"};

constexpr const char* profileName(Profile profile) {
    return profileNames[static_cast<std::size_t>(profile)];
}

} // namespace storage::host
