#pragma once

#include <string>
#include <vector>

namespace storage::host {

/// Which providers a rule applies to.
enum class Profile {
    AnyProvider,      ///< every provider, with any kind of storage
    InMemoryProvider, ///< only the in-memory provider: others may behave differently
};

/// The name on the command line, for example "in-memory".
const char* profileName(Profile profile);

std::vector<std::string> profileNames();

/// @param name  one of `profileNames`
Profile profileNamed(const std::string& name);

} // namespace storage::host
