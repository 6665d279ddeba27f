#pragma once

#include <string>

namespace storage::host {

/// Where the program keeps what is to outlive it, an absolute path: `qzstorage` below `$XDG_STATE_HOME`, by default below
/// `.local/state` in the user's home. Reads the environment: for the time before any thread.
std::string stateFolder();

} // namespace storage::host
