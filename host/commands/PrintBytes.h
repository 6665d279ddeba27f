#pragma once

#include "host/session/Session.h"
#include "host/storage/ByteStreamDevice.h"

#include <limits>

namespace storage::host {

/// Prints bytes of a file unchanged, starting at the device's position.
/// @param most  maximum number of bytes
/// @throws Interrupted
void printBytes(Session& session, ByteStreamDevice file,
                unsigned long long most = std::numeric_limits<unsigned long long>::max());

} // namespace storage::host
