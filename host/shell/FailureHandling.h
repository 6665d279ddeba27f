#pragma once

namespace storage::host {

/// What a failing command does to the lines behind it.
enum class FailureHandling {
    Stop,      ///< they are not run
    KeepGoing, ///< they are run, but the status at the end tells of the failure
    AskPerson, ///< a person at a terminal has seen it and decides
};

} // namespace storage::host
