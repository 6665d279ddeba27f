#pragma once

#include "host/session/Session.h"

#include <functional>
#include <string>
#include <vector>

namespace storage::host {

/// Runs a command with the operands SOURCE... DESTINATION, all in storages, source by source. Reports a
/// failure and continues with the next source. Several sources require an existing destination folder.
/// @param operands  at least two
/// @param transfer  copies or moves one source to its target
/// @throws Interrupted
void transferEach(Session& session, const std::vector<std::string>& operands,
                  const std::function<void(const StoragePath& source, const StoragePath& target)>& transfer);

} // namespace storage::host
