#pragma once

#include "host/session/EntrySelection.h"
#include "host/storage/StoragePath.h"

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace storage::host {

/// A source of an import: an entry of the disk. A value.
struct ImportSource {
    enum class Scope {
        Whole,       ///< with its own time, writable flag and permissions
        ContentOnly, ///< what the folder holds was added to a folder that existed
    };

    std::string diskPath; ///< absolute
    Scope scope = Scope::Whole;
    unsigned long long order = 0; ///< a later import has a greater one
    std::shared_ptr<const EntrySelection> selection =
        std::make_shared<EntrySelection>(); ///< what was imported
};

/// What was imported in a session and where its copies are now, for checking them later.
///
/// Several sources may have gone to one path, and one below another. They are laid over one another: the later one has
/// replaced the files that both have. A path has each source once for each scope.
///
/// Thread safety: one object is for one thread.
class ImportLog {
public:
    /// @param root  of the storage that the copies are in
    explicit ImportLog(StoragePath root = StoragePath()) : root_(std::move(root)) {}

    /// The copy of `diskPath` is at `path`, on top of what was imported there before.
    void add(const std::string& diskPath, const StoragePath& path, ImportSource::Scope scope,
             std::shared_ptr<const EntrySelection> selection = std::make_shared<EntrySelection>());

    /// Follows the entry at `from`, and all below it, to `to`, on top of what was imported there before.
    void moved(const StoragePath& from, const StoragePath& to) { movedTo(*this, from, to); }

    /// The same to another storage.
    /// @param log  of the storage of `to`
    void movedTo(ImportLog& log, const StoragePath& from, const StoragePath& to);

    /// Of the storage that the copies are in.
    const StoragePath& root() const noexcept { return root_; }

    bool empty() const noexcept { return targets_.empty(); }

    /// The paths of copies that are not below another copy, sorted.
    std::vector<StoragePath> topmost() const;

    /// The sources whose copies are exactly at `path`, in the order of their imports.
    std::vector<ImportSource> at(const StoragePath& path) const;

    /// Names in the folder at `folder` of copies and of folders that hold copies, sorted.
    std::vector<std::u16string> namesIn(const StoragePath& folder) const;

    /// Whether the entry at `path`, with its time, writable flag and permissions, belongs to a copy.
    bool covers(const StoragePath& path) const;

private:
    struct Import {
        unsigned long long order = 0;
        std::shared_ptr<const EntrySelection> selection;
    };
    using Sources = std::map<std::pair<std::string, ImportSource::Scope>, Import>;

    bool isBelowCopy(const StoragePath& path) const;

    StoragePath root_;
    std::map<std::u16string, Sources> targets_; ///< by paths of the storage
    unsigned long long lastOrder_ = 0;
};

} // namespace storage::host
