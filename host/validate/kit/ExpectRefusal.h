#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <functional>
#include <string_view>

namespace storage::host {

class CheckContext;

/// As `expectFailure`. Also expects that nothing in the check's own folder changes: no entry, byte, flag or
/// time.
void expectRefusal(CheckContext& context, const std::function<void()>& action, provider::ErrorCode code,
                   const provider::StorageIRI& location, std::string_view operation);

} // namespace storage::host
