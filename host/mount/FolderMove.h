#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <string>
#include <vector>

namespace storage::host {

/// Moves a folder and its content with the semantics of rename(2): every entry keeps its time and its flag,
/// and a move that fails midway is undone.
///
/// A storage stamps moved entries, makes moved folders writable, refuses read-only ones and undoes nothing.
/// Borrows the provider. Precondition: nothing else changes the content of the folder meanwhile. Not
/// thread-safe.
class FolderMove {
public:
    using IProvider = provider::IProvider;
    using StorageIRI = provider::StorageIRI;

    /// @param source       an existing folder
    /// @param destination  a free path or an empty folder, which is replaced; in a writable folder
    /// @throws ErrnoError ENOTEMPTY when the destination is a folder that is not empty
    FolderMove(const IProvider& provider, StorageIRI source, StorageIRI destination);

    /// @throws the storage's exception; everything is moved back, unless allocation fails for that too
    void run();

private:
    struct Entry {
        std::u16string below; ///< path relative to the folder; empty for the folder itself
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
    std::vector<Entry> entries_; ///< each folder before its content
};

} // namespace storage::host
