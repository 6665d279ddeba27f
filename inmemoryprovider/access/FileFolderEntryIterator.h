#pragma once

#include "inmemoryprovider/filesystem/InMemoryFolderEntry.h"

#include "hostapi/storage/provider/FolderEntry.h"
#include "hostapi/storage/provider/IClonableFolderEntryIterator.h"

#include <iterator>
#include <optional>
#include <utility>

namespace storage::inmemoryprovider {

/// A listing of those children of a folder that `Predicate` accepts, in the order of their paths.
///
/// Owns a snapshot of the folder: later changes of the tree neither show nor harm, and nothing in the tree is
/// kept alive. Between calls `current_` is the end of the snapshot or an accepted child. A step takes the child out of the
/// snapshot and makes the name out of its path, in the same memory. So the snapshot need not have names, and a step never
/// fails.
///
/// Thread safety: takes no lock; one object is for one thread at a time, clones are independent.
template <class Predicate>
class FileFolderEntryIterator
    : public foundation::storage::provider::IClonableFolderEntryIterator<FileFolderEntryIterator<Predicate>> {
public:
    using Snapshot = InMemoryFolderEntry::LightWeightRepresentation;
    using FolderEntry = foundation::storage::provider::FolderEntry;

    /// A listing of all that `snapshot` holds, before its first step.
    explicit FileFolderEntryIterator(Snapshot snapshot)
        : snapshot_(std::move(snapshot)), current_(snapshot_.begin()), end_(snapshot_.end()) {
        skipRejected();
    }

    /// A clone: it stands where `other` stands, but has not made a step yet, so it has no entry to give.
    FileFolderEntryIterator(const FileFolderEntryIterator& other)
        : foundation::storage::provider::IClonableFolderEntryIterator<FileFolderEntryIterator>(other),
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
