#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <functional>
#include <string_view>

namespace storage::host {

class CheckContext;

/// Like `expectFailure`. Also expects that the check's folder stays unchanged: entries, bytes, flags and
/// times.
void expectRefusal(CheckContext& context, const std::function<void()>& action, provider::ErrorCode code,
                   const provider::StorageIRI& location, std::string_view operation);

} // namespace storage::host
