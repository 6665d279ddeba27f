#pragma once

#include "host/storage/StoragePath.h"
#include "host/support/PathPattern.h"

#include <string_view>
#include <vector>

namespace storage::host {

/// Which entries of a tree a transfer takes: those that no pattern excludes and, if there are patterns that include, that one
/// of them matches. What is in a folder that is excluded is excluded, what is in one that is included is included.
///
/// A value. Paths are relative to the top of the tree, which `StoragePath()` stands for.
class EntrySelection {
public:
    enum class Verdict {
        Excluded,
        Passage, ///< a folder that is not taken for itself, but for what is included below it
        Included,
    };

    void include(std::string_view pattern) { included_.emplace_back(pattern); }
    void exclude(std::string_view pattern) { excluded_.emplace_back(pattern); }

    /// The top of a tree, which patterns match by its name; no pattern matches one without a name.
    Verdict ofTop(std::u16string_view name, bool isFolder) const;

    /// @param above  of the folder that the entry is in, which is not excluded
    Verdict ofChild(const StoragePath& path, bool isFolder, Verdict above) const;

    /// An entry anywhere below a top.
    /// @param top  its verdict
    Verdict of(const StoragePath& path, bool isFolder, Verdict top) const;

private:
    std::vector<PathPattern> included_;
    std::vector<PathPattern> excluded_;
};

} // namespace storage::host
