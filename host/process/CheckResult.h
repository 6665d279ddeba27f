#pragma once

namespace storage::host {

/// What became of a check.
enum class CheckResult {
    Pass,  ///< the rule was kept
    Fail,  ///< it was not
    Skip,  ///< the check has nothing to say of this provider here
    Crash, ///< the check's process ended, or was ended, before it had an answer
};

} // namespace storage::host
