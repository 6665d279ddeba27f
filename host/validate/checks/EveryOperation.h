#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

namespace storage::host {

class CheckContext;

namespace checks {

/// Calls every operation of a provider except doShutdown, and every operation of its streams and listings,
/// with success and with failure. Creates the check's folder if it is missing, and removes everything that it
/// creates in it.
/// @throws RuleBroken when an operation has a wrong result
void useEveryOperation(CheckContext& context, const provider::IProvider& provider);

} // namespace checks

} // namespace storage::host
