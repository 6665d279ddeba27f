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
    /// @param path  names with "/" between them
    explicit StorageIRI(std::u16string path);

    /// A location whose three properties are given apart, for hosts that resolve locations themselves.
    /// @param resolvedPath  what providers use
    /// @param path          as the location was given
    /// @param hasParent     false for the root
    StorageIRI(std::u16string resolvedPath, std::u16string path, bool hasParent);

    /// The path with everything resolved that the host resolves (aliases, mount points); what providers use.
    /// @return it, valid as long as this object
    const std::u16string& getResolvedPath() const noexcept { return resolvedPath_; }

    /// The path as it was given.
    /// @return it, valid as long as this object
    const std::u16string& getPath() const noexcept { return path_; }

    /// Whether the location is in a folder.
    /// @return false exactly for the root location
    bool hasParent() const noexcept { return hasParent_; }

    /// Same paths and both, or neither, the root.
    /// @param other  is compared with this
    /// @return whether they are equal
    bool operator==(const StorageIRI& other) const noexcept {
        return resolvedPath_ == other.resolvedPath_ && hasParent_ == other.hasParent_ && path_ == other.path_;
    }
    /// Another path.
    /// @param other  is compared with this
    /// @return whether they differ
    bool operator!=(const StorageIRI& other) const noexcept { return !(*this == other); }

private:
    // What providers ask of nearly every location stands together, so that it comes from memory in one piece.
    std::u16string resolvedPath_;
    bool hasParent_;
    std::u16string path_;
};

} // namespace foundation::storage::provider
