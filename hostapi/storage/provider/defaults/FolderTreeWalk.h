#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/StorageIRI.h"
#include "hostapi/storage/provider/defaults/DerivedLocation.h"
#include "hostapi/storage/provider/defaults/EntryList.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace foundation::storage::provider {

/// Visits everything below a folder, depth first: call `advance`, then query the visited entry.
///
/// Keeps its path in a vector, so a deep tree uses no more stack than a flat one. A folder is listed by the
/// `advance` after its `FolderEntered`; if it is removed by then, it counts as empty. A folder with an empty
/// name that has an entry with an empty name counts as empty too, because a provider that ignores empty names
/// would list it endlessly. Visited entries may be removed during the walk.
///
/// Owns the listings of the open folders; the provider must outlive it. Not thread-safe. Invariant: `levels_`
/// holds the folders from the top down to the innermost open one.
class FolderTreeWalk {
public:
    enum class Event {
        FileMet,
        FolderEntered, ///< before everything in the folder
        FolderLeft,    ///< after everything in the folder
    };

    /// @throws Exception  `NotFound` naming `top` when there is no such folder
    FolderTreeWalk(const IProvider& provider, const StorageIRI& top);

    /// Moves to the next event. The top folder itself has no event.
    /// @return false when the walk has ended
    bool advance();

    Event event() const noexcept { return event_; }

    /// The path of the visited entry from the top folder on, "/" between the names.
    const std::u16string& relativePath() const noexcept { return relativePath_; }

    /// The visited entry's own name.
    std::u16string_view name() const noexcept;

    StorageIRI location() const { return locationBelow(levels_.back().location, name()); }

private:
    struct Level {
        std::size_t pathLength; ///< of the folder's own relative path
        StorageIRI location;
        EntryList entries;
        std::size_t next = 0;
    };

    EntryList listEnteredFolder(const StorageIRI& folder) const;
    bool leaveFolder();
    void meet(const FolderEntry& entry);

    const IProvider& provider_;
    std::vector<Level> levels_;
    std::u16string relativePath_;
    Event event_ = Event::FolderLeft;
};

} // namespace foundation::storage::provider
