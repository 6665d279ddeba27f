#pragma once

#include "host/session/Session.h"
#include "host/storage/ByteStreamDevice.h"

#include <limits>

namespace storage::host {

/// Prints bytes of a file as they are, from the device's position on.
/// @param most  how many at the most
/// @throws Interrupted
void printBytes(Session& session, ByteStreamDevice file,
                unsigned long long most = std::numeric_limits<unsigned long long>::max());

} // namespace storage::host
