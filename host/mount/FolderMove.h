#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <string>
#include <vector>

namespace storage::host {

/// Moves a folder with everything below it the way a rename does: every entry keeps its time and its flag, and a move
/// that fails midway is undone.
///
/// A storage stamps what it moves, makes moved folders writable, refuses read-only ones and undoes nothing.
/// Borrows the provider. Nobody else changes what is below the folder meanwhile. Thread safety: for one thread.
class FolderMove {
public:
    using IProvider = foundation::storage::provider::IProvider;
    using StorageIRI = foundation::storage::provider::StorageIRI;

    /// @param source       an existing folder
    /// @param destination  a free path, or an empty folder, which gives way; in a writable folder
    /// @throws ErrnoError ENOTEMPTY when the destination is a folder that holds anything
    FolderMove(const IProvider& provider, StorageIRI source, StorageIRI destination);

    /// @throws what the storage throws, with everything where it was, unless memory runs out for that too
    void run();

private:
    struct Entry {
        std::u16string below; ///< the path inside the folder, empty for the folder itself
        bool isFolder;
        bool writable;
        boost::posix_time::ptime modified;
    };

    void record(std::u16string below, bool isFolder);
    void recordChildren(const std::u16string& below);
    void makeFoldersWritable() const;
    void moveBack() const;
    void restoreAttributes(const StorageIRI& folder) const noexcept;

    const IProvider& provider_;
    const StorageIRI source_;
    const StorageIRI destination_;
    const bool replaces_;
    std::vector<Entry> entries_; ///< each folder before what it holds
};

} // namespace storage::host
