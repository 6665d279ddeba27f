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

/// Visits everything below a folder, depth first: `advance`, then look at what it arrived at.
///
/// Keeps its way back in a vector, so the depth of the tree costs no stack. A folder is listed when the walk
/// goes on from its `FolderEntered`; one that is gone by then counts as empty, and so does one with an empty name that holds
/// another entry with an empty name, as a provider that ignores empty names shows it. What was visited may be removed while
/// the walk goes on.
///
/// Owns copies of all names it still needs; the provider must outlive it. For one thread.
/// Invariant: `levels_` holds the folders from the top down to the one whose entries are being visited.
class FolderTreeWalk {
public:
    enum class Event {
        FileMet,
        FolderEntered, ///< before everything in the folder
        FolderLeft,    ///< after everything in the folder
    };

    /// @throws Exception  `NotFound` naming `top` when there is no such folder
    FolderTreeWalk(const IProvider& provider, const StorageIRI& top);

    /// Goes on to the next event. False when there is none left, and the walk over; the top folder itself gives
    /// no event.
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
