#pragma once

#include "host/disk/FileDescriptor.h"
#include "host/session/Session.h"

namespace storage::host {

/// Opens the standard input for a command that reads it. Messages name it "-".
/// @throws CommandError when the session reads its command lines from the standard input
FileDescriptor openInput(const Session& session);

} // namespace storage::host
