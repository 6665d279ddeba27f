#pragma once

namespace storage::host {

/// What the program tells its caller when it ends.
enum class ExitStatus : int {
    Success = 0,
    Failure = 1,
    Usage = 2,
    Interrupted = 130, ///< as a shell reports a program ended by Ctrl-C
};

} // namespace storage::host
