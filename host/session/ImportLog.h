#pragma once

#include "host/session/EntrySelection.h"
#include "host/storage/StoragePath.h"

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace storage::host {

/// A source of an import: an entry on disk. A value.
struct ImportSource {
    enum class Scope {
        Whole,       ///< with its own time, writable flag and permissions
        ContentOnly, ///< the content of a folder, added to an existing folder
    };

    std::string diskPath; ///< absolute
    Scope scope = Scope::Whole;
    unsigned long long order = 0; ///< greater for a later import
    std::shared_ptr<const EntrySelection> selection =
        std::make_shared<EntrySelection>(); ///< the entries that were imported
};

/// Records what was imported in a session and where the copies are now, so that they can be checked later.
///
/// Several sources can be imported to one path, and one below another. The later import has replaced the
/// files that both contain. A path has at most one record for each source and scope.
///
/// Not thread-safe.
class ImportLog {
public:
    /// @param root  of the storage that contains the copies
    explicit ImportLog(StoragePath root = StoragePath()) : root_(std::move(root)) {}

    /// Records that `diskPath` was imported to `path`, over earlier imports.
    void add(const std::string& diskPath, const StoragePath& path, ImportSource::Scope scope,
             std::shared_ptr<const EntrySelection> selection = std::make_shared<EntrySelection>());

    /// Moves the records of the entry at `from` and of everything below it to `to`, over earlier imports.
    void moved(const StoragePath& from, const StoragePath& to) { movedTo(*this, from, to); }

    /// The same for a move to another storage.
    /// @param log  of the storage of `to`
    void movedTo(ImportLog& log, const StoragePath& from, const StoragePath& to);

    /// The root of the storage that contains the copies.
    const StoragePath& root() const noexcept { return root_; }

    bool empty() const noexcept { return targets_.empty(); }

    /// The paths of copies that are not below another copy, sorted.
    std::vector<StoragePath> topmost() const;

    /// The sources that were imported to exactly `path`, in the order of their imports.
    std::vector<ImportSource> at(const StoragePath& path) const;

    /// The names of the entries of `folder` that are copies or contain copies, sorted.
    std::vector<std::u16string> namesIn(const StoragePath& folder) const;

    /// Whether the entry at `path`, including its time, writable flag and permissions, is part of a copy.
    bool covers(const StoragePath& path) const;

private:
    struct Import {
        unsigned long long order = 0;
        std::shared_ptr<const EntrySelection> selection;
    };
    using Sources = std::map<std::pair<std::string, ImportSource::Scope>, Import>;

    bool isBelowCopy(const StoragePath& path) const;

    StoragePath root_;
    std::map<std::u16string, Sources> targets_; ///< by path in the storage
    unsigned long long lastOrder_ = 0;
};

} // namespace storage::host
