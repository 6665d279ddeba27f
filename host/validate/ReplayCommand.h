#pragma once

#include "host/validate/ValidateOptions.h"
#include "host/validate/rules/Check.h"

#include <string>

namespace storage::host {

/// The command line, quoted for a shell, that repeats one check of a run with the same options and seed.
std::string replayCommand(const ValidateOptions& options, const Check& check);

} // namespace storage::host
