#pragma once

#include "host/disk/FileDescriptor.h"
#include "host/session/Session.h"

namespace storage::host {

/// The standard input of a session, for a command that reads it; "-" in messages.
/// @throws CommandError when the lines of the session come from there
FileDescriptor openInput(const Session& session);

} // namespace storage::host
