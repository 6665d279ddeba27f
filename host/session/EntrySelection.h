#pragma once

#include "host/storage/StoragePath.h"
#include "host/support/PathPattern.h"

#include <string_view>
#include <vector>

namespace storage::host {

/// Selects the entries of a tree that are transferred. An entry is excluded if an exclude pattern matches it
/// or a folder above it. Other entries are included if an include pattern matches them or a folder above
/// them, or if there are no include patterns.
///
/// A value. Paths are relative to the top of the tree, which is `StoragePath()`.
class EntrySelection {
public:
    enum class Verdict {
        Excluded,
        Passage, ///< a folder that is not included itself, but may contain included entries
        Included,
    };

    void include(std::string_view pattern) { included_.emplace_back(pattern); }
    void exclude(std::string_view pattern) { excluded_.emplace_back(pattern); }

    /// The verdict on the top of a tree. Patterns match its name; none matches a top without a name.
    Verdict ofTop(std::u16string_view name, bool isFolder) const;

    /// The verdict on an entry below the top.
    /// @param above  verdict on its folder, which is not excluded
    Verdict ofChild(const StoragePath& path, bool isFolder, Verdict above) const;

    /// The same, if only the verdict on the top is known.
    /// @param path  the top, or an entry at any depth below it
    Verdict of(const StoragePath& path, bool isFolder, Verdict top) const;

private:
    std::vector<PathPattern> included_;
    std::vector<PathPattern> excluded_;
};

} // namespace storage::host
