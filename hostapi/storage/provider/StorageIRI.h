#pragma once

#include "hostapi/Export.h"

#include <string>

namespace foundation::storage::provider {

/// Names one location of a storage: a path of UTF-16 code units with "/" as separator, "/" alone being the
/// root.
///
/// Thread safety: a value; reading one object from several threads is safe.
class QZFL_EXPORT StorageIRI {
public:
    /// The location at `path`. A path without any name in it (empty, or nothing but separators) is the root
    /// and has no parent.
    explicit StorageIRI(std::u16string path);

    /// A location whose three properties are given apart, for hosts that resolve locations themselves.
    StorageIRI(std::u16string resolvedPath, std::u16string path, bool hasParent);

    /// The path with everything resolved that the host resolves (aliases, mount points); what providers use.
    const std::u16string& getResolvedPath() const noexcept { return resolvedPath_; }

    /// The path as it was given.
    const std::u16string& getPath() const noexcept { return path_; }

    /// False exactly for the root location.
    bool hasParent() const noexcept { return hasParent_; }

    bool operator==(const StorageIRI&) const = default;

private:
    // What providers ask of nearly every location stands together, so that it comes from memory in one piece.
    std::u16string resolvedPath_;
    bool hasParent_;
    std::u16string path_;
};

} // namespace foundation::storage::provider
