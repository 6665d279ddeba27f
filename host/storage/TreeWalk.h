#pragma once

#include "host/storage/StoragePath.h"
#include "hostapi/storage/provider/FolderEntry.h"
#include "hostapi/storage/provider/IProvider.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace storage::host {

/// Walks over an entry and everything below it, depth first, the entries of a folder in the order of their
/// names. Depth costs memory but no stack.
///
///     for (TreeWalk walk(provider, top); const auto step = walk.next();) {
///         if (step->kind == TreeWalk::Step::Kind::Folder) { walk.descend(); }
///     }
///
/// Borrows the provider. Each folder is listed when the walk descends into it; what changes in it later is
/// not seen. Thread safety: one object is for one thread.
class TreeWalk {
public:
    struct Step {
        enum class Kind {
            File,
            Folder,
            FolderDone, ///< everything below a folder that the walk descended into has been yielded
        };
        enum class Position { Last, NotLast };

        Kind kind;
        StoragePath path;
        std::u16string name; ///< as the listing gave it; of the top, its path's name
        std::size_t depth;   ///< 0 for the top
        Position position;   ///< among the entries of its folder
    };

    /// @param top  an existing file or folder
    TreeWalk(const foundation::storage::provider::IProvider& provider, const StoragePath& top);

    /// The next entry; nothing at the end.
    std::optional<Step> next();

    /// Makes the walk yield what the folder of the last step holds, and then its FolderDone. Without this
    /// call the folder is passed over and has no FolderDone.
    /// @throws whatever listing the folder throws; the folder then counts as passed over
    void descend();

private:
    struct OpenFolder {
        Step self;
        std::vector<foundation::storage::provider::FolderEntry> entries;
        std::size_t next;
    };

    const foundation::storage::provider::IProvider& provider_;
    std::optional<Step> top_; ///< until it was yielded
    std::optional<Step> lastFolder_;
    std::vector<OpenFolder> open_;
};

} // namespace storage::host
