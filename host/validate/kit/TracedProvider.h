#pragma once

#include "host/validate/kit/OperationTrace.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <memory>

namespace storage::host {

/// A provider that forwards every operation to another one, and those of its streams and listings, and records each call.
/// It borrows the provider and the trace; its streams and listings borrow the trace alone. As thread-safe as the provider.
std::unique_ptr<provider::IProvider> tracedProvider(provider::IProvider& inner, OperationTrace& trace);

} // namespace storage::host
