#pragma once

#include "hostapi/storage/provider/Exception.h"

#include <functional>
#include <string>

namespace storage::host {

/// Finds the reason of a storage's failure in words.
using FailureDiagnosis = std::function<std::string(const foundation::storage::provider::Exception& error)>;

/// What went wrong, where, in words. A value.
struct Failure {
    std::string path; ///< empty when no path is concerned
    std::string reason;

    /// Describes the exception that is being handled. Every exception has a description, also one of a class
    /// that only a plug-in knows.
    /// @param path      used when the exception itself names no path
    /// @param diagnose  finds the reason of a storage's failure
    static Failure ofCurrentException(const std::string& path, const FailureDiagnosis& diagnose = reasonOf);

    /// What the exception says behind its path: of a code without a name, the number too.
    static std::string reasonOf(const foundation::storage::provider::Exception& error);

    /// "path: reason", or the reason alone.
    std::string text() const;
};

} // namespace storage::host
