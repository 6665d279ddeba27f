#pragma once

#include "host/session/Session.h"

#include <functional>
#include <string>
#include <vector>

namespace storage::host {

/// Runs a command whose operands are SOURCE... DESTINATION, all in storages, source by source. One that fails is
/// reported and the next one gets its turn. Several sources need a folder to go to.
/// @param operands  at least two
/// @param transfer  copies or moves one source to its place
/// @throws Interrupted
void transferEach(Session& session, const std::vector<std::string>& operands,
                  const std::function<void(const StoragePath& source, const StoragePath& target)>& transfer);

} // namespace storage::host
