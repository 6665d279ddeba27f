#pragma once

#include "inmemoryprovider/filesystem/InMemoryFolderEntry.h"

#include "hostapi/storage/provider/FolderEntry.h"
#include "hostapi/storage/provider/IClonableFolderEntryIterator.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <iterator>
#include <optional>
#include <utility>

namespace storage::inmemoryprovider {

/// A listing of those children of a folder that `Predicate` accepts, in the order of their paths.
///
/// Owns a snapshot of the folder, so later changes of the tree have no effect on it, and it keeps no node
/// alive. Invariant: `current_` is an accepted child or the end of the snapshot. A step removes the child
/// from the snapshot and turns its path into its name in the same memory. So the snapshot can leave the names
/// empty, and a step never fails.
///
/// Not thread-safe. Clones are independent.
template <class Predicate>
class FileFolderEntryIterator
    : public provider::IClonableFolderEntryIterator<FileFolderEntryIterator<Predicate>> {
public:
    using Snapshot = InMemoryFolderEntry::LightWeightRepresentation;
    using FolderEntry = provider::FolderEntry;

    /// A listing of the accepted children in `snapshot`, before the first step.
    explicit FileFolderEntryIterator(Snapshot snapshot)
        : snapshot_(std::move(snapshot)), current_(snapshot_.begin()), end_(snapshot_.end()) {
        skipRejected();
    }

    /// A clone at the position of `other`. It has made no step yet, so it has no entry.
    FileFolderEntryIterator(const FileFolderEntryIterator& other)
        : provider::IClonableFolderEntryIterator<FileFolderEntryIterator>(other),
          snapshot_(other.snapshot_),
          current_(std::next(snapshot_.begin(), std::distance(other.snapshot_.begin(),
                                                              Snapshot::const_iterator(other.current_)))),
          end_(snapshot_.end()) {}

    FileFolderEntryIterator& operator=(const FileFolderEntryIterator&) = delete;
    ~FileFolderEntryIterator() override = default;

    FolderEntry getEntry() const override { return *entry_; }

    bool hasNext() const override { return current_ != end_; }

    void step() override {
        auto child = snapshot_.extract(current_++);
        entry_.emplace(std::move(child.key()).takeFilename(),
                       static_cast<FolderEntry::EntryType>(child.mapped().second));
        skipRejected();
    }

private:
    using Position = Snapshot::iterator;

    void skipRejected() {
        while (current_ != end_ && !Predicate::accepts(current_->second.second)) {
            ++current_;
        }
    }

    Snapshot snapshot_;
    Position current_;
    Position end_;
    std::optional<FolderEntry> entry_;
};

} // namespace storage::inmemoryprovider
