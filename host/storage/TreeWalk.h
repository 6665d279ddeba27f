#pragma once

#include "host/storage/StoragePath.h"
#include "hostapi/storage/provider/FolderEntry.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace storage::host {

/// Walks an entry and everything below it depth first, the entries of a folder in the order of their names.
/// Stack use does not depend on the depth.
///
///     for (TreeWalk walk(provider, top); const auto step = walk.next();) {
///         if (step->kind == TreeWalk::Step::Kind::Folder) { walk.descend(); }
///     }
///
/// Borrows the provider. A folder is listed when the walk descends into it. Later changes of it are not seen.
/// Not thread-safe.
class TreeWalk {
public:
    struct Step {
        enum class Kind {
            File,
            Folder,
            FolderDone, ///< everything below a folder that the walk descended into has been returned
        };
        enum class Position { Last, NotLast };

        Kind kind;
        StoragePath path;
        std::u16string name; ///< as listed; for the top, the name in its path
        std::size_t depth;   ///< 0 for the top
        Position position;   ///< among the entries of its folder
    };

    /// @param top  an existing file or folder
    TreeWalk(const provider::IProvider& provider, const StoragePath& top);

    /// Returns the next entry; nothing at the end.
    std::optional<Step> next();

    /// Descends into the folder of the last step: its entries follow, and then its FolderDone. A folder
    /// without this call is skipped and has no FolderDone.
    /// @throws exceptions of the listing; the folder is then skipped
    void descend();

private:
    struct OpenFolder {
        Step self;
        std::vector<provider::FolderEntry> entries;
        std::size_t next;
    };

    const provider::IProvider& provider_;
    std::optional<Step> top_; ///< until `next` has returned it
    std::optional<Step> lastFolder_;
    std::vector<OpenFolder> open_;
};

} // namespace storage::host
