#pragma once

#include "hostapi/Export.h"

#include <string>

namespace foundation::storage::provider {

/// A location in a storage: a path of UTF-16 code units with "/" as separator. "/" alone is the root.
///
/// A value. Thread safety: any number of threads may read one object.
class QZFL_EXPORT StorageIRI {
public:
    /// The location at `path`. A path without any name in it (empty, or nothing but separators) is the root
    /// and has no parent.
    /// @param path  names with "/" between them
    explicit StorageIRI(std::u16string path);

    /// A location with its three properties given separately, for hosts that resolve locations themselves.
    /// @param resolvedPath  the path that providers use
    /// @param path          as the location was given
    /// @param hasParent     false for the root
    StorageIRI(std::u16string resolvedPath, std::u16string path, bool hasParent);

    /// The path after the host has resolved aliases and mount points; providers use this one.
    /// @return a reference, valid as long as this object
    const std::u16string& getResolvedPath() const noexcept { return resolvedPath_; }

    /// The path as it was given.
    /// @return a reference, valid as long as this object
    const std::u16string& getPath() const noexcept { return path_; }

    /// Whether the location has a parent folder.
    /// @return false exactly for the root location
    bool hasParent() const noexcept { return hasParent_; }

    /// Whether resolved path, path and `hasParent` are equal.
    /// @param other  the location to compare with
    /// @return whether they are equal
    bool operator==(const StorageIRI& other) const noexcept {
        return resolvedPath_ == other.resolvedPath_ && hasParent_ == other.hasParent_ && path_ == other.path_;
    }
    /// The opposite of ==.
    /// @param other  the location to compare with
    /// @return whether they differ
    bool operator!=(const StorageIRI& other) const noexcept { return !(*this == other); }

private:
    // Providers read the first two for nearly every location, so these are adjacent.
    std::u16string resolvedPath_;
    bool hasParent_;
    std::u16string path_;
};

} // namespace foundation::storage::provider
