#pragma once

#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <functional>
#include <string>

namespace storage::host {

struct FailureDiagnosis;

/// A failure: what failed, where, and why. A value.
struct Failure {
    std::string path; ///< empty when no path is concerned
    std::string reason;

    /// Describes the current exception. Works for every exception, also for classes that only a plug-in
    /// defines.
    /// @param path       used if the exception names no path
    /// @param diagnosis  of a storage failure
    static Failure ofCurrentException(const std::string& path, const FailureDiagnosis& diagnosis);

    /// The same without a diagnosis.
    static Failure ofCurrentException(const std::string& path);

    /// The exception's reason without its path. If the error code has no name, its number is included.
    static std::string reasonOf(const provider::Exception& error);

    /// "path: reason", or the reason alone.
    std::string text() const;
};

/// How the failures of one storage are described. A value.
struct FailureDiagnosis {
    /// Finds the reason in words.
    std::function<std::string(const provider::Exception& error)> reason = Failure::reasonOf;
    std::string pathPrefix{}; ///< "NAME:" of the storage, where there are several
};

} // namespace storage::host
