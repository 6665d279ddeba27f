#pragma once

#include "host/validate/kit/OperationTrace.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <memory>

namespace storage::host {

/// Returns a provider that forwards every operation to `inner` and records each call, including the calls of
/// its streams and listings. It borrows `inner` and the trace; its streams and listings borrow only the
/// trace. It is as thread-safe as `inner`.
std::unique_ptr<provider::IProvider> tracedProvider(provider::IProvider& inner, const OperationTrace& trace);

} // namespace storage::host
