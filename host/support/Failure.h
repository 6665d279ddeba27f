#pragma once

#include <string>

namespace storage::host {

/// What went wrong, where, in words. A value.
struct Failure {
    std::string path; ///< empty when no path is concerned
    std::string reason;

    /// Describes the exception that is being handled. Every exception has a description, also one of a class
    /// that only a plug-in knows.
    /// @param path  used when the exception itself names no path
    static Failure ofCurrentException(const std::string& path);

    /// "path: reason", or the reason alone.
    std::string text() const;
};

} // namespace storage::host
