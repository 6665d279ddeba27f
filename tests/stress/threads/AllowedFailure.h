#pragma once

#include "hostapi/storage/provider/ErrorCode.h"
#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/stress/threads/Attempt.h"

namespace storage::stress {

/// A failure that an operation may have while other threads change the tree.
struct AllowedFailure {
    /// The location that the exception names.
    enum class Named {
        Source,
        Destination,
        SourceOrAbove, ///< for operations that create parent folders
        SourceOrBelow, ///< for operations that remove descendants
        TemporaryFile, ///< for copies: in the folder of the destination
    };

    provider::ErrorCode code;
    Named named = Named::Source;

    bool allows(const provider::Exception& failure, const Attempt& attempt) const;
};

} // namespace storage::stress
