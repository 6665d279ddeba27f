#pragma once

#include <string>

namespace storage::host {

/// The folder for persistent state of the program, an absolute path: `qzstorage` below `$XDG_STATE_HOME`, by
/// default below `.local/state` in the home directory. Reads the environment, so call it before any thread is
/// started.
std::string stateFolder();

} // namespace storage::host
