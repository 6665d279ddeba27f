#pragma once

#include "hostapi/storage/provider/Exception.h"

#include <functional>
#include <string>

namespace storage::host {

/// Returns the reason of a storage failure in words.
using FailureDiagnosis = std::function<std::string(const foundation::storage::provider::Exception& error)>;

/// A failure: what failed, where, and why. A value.
struct Failure {
    std::string path; ///< empty when no path is concerned
    std::string reason;

    /// Describes the current exception. Works for every exception, also for classes that only a plug-in
    /// defines.
    /// @param path      used if the exception names no path
    /// @param diagnose  returns the reason of a storage failure
    static Failure ofCurrentException(const std::string& path, const FailureDiagnosis& diagnose = reasonOf);

    /// The exception's reason without its path. If the error code has no name, its number is included.
    static std::string reasonOf(const foundation::storage::provider::Exception& error);

    /// "path: reason", or the reason alone.
    std::string text() const;
};

} // namespace storage::host
