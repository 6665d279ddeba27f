#pragma once

#include "host/validate/rules/Profile.h"

#include <string>
#include <vector>

namespace storage::host {

/// As the command line spells it, for example "in-memory".
const char* profileName(Profile profile);

std::vector<std::string> profileNames();

/// @param name  one of `profileNames`
Profile profileNamed(const std::string& name);

} // namespace storage::host
