#pragma once

namespace storage::host {

/// Exit status of the program.
enum class ExitStatus : int {
    Success = 0,
    Failure = 1,
    Usage = 2,
    Interrupted = 130, ///< 128 + SIGINT, as a shell reports it
};

} // namespace storage::host
