#include "host/storage/TreeWalk.h"

#include "host/storage/Listing.h"
#include "host/support/CommandError.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <utility>

namespace storage::host {

using provider::FolderEntry;
using provider::IProvider;

namespace {

TreeWalk::Step::Kind kindOf(bool isFolder) {
    return isFolder ? TreeWalk::Step::Kind::Folder : TreeWalk::Step::Kind::File;
}

} // namespace

TreeWalk::TreeWalk(const IProvider& provider, const StoragePath& top)
    : provider_(provider),
      top_(Step{kindOf(provider.doFolderExists(top.iri())), top, std::u16string(top.name()), 0,
                Step::Position::Last}) {}

std::optional<TreeWalk::Step> TreeWalk::next() {
    lastFolder_.reset();
    std::optional<Step> step;
    if (top_) {
        step = std::exchange(top_, std::nullopt);
    } else if (!open_.empty() && open_.back().next < open_.back().entries.size()) {
        OpenFolder& folder = open_.back();
        const FolderEntry& entry = folder.entries[folder.next++];
        step = Step{kindOf(entry.getType() == FolderEntry::EntryType::Folder),
                    folder.self.path.child(entry.getName()), entry.getName(), open_.size(),
                    folder.next == folder.entries.size() ? Step::Position::Last : Step::Position::NotLast};
    } else if (!open_.empty()) {
        step = std::move(open_.back().self);
        step->kind = Step::Kind::FolderDone;
        open_.pop_back();
    }
    if (step && step->kind == Step::Kind::Folder) {
        lastFolder_ = step;
    }
    return step;
}

void TreeWalk::descend() {
    if (lastFolder_ && lastFolder_->name.empty() && lastFolder_->depth > 0) {
        // Without a name, its path is that of the parent folder, so the walk would never end.
        throw CommandError(lastFolder_->path.printed(), "cannot list a folder without a name");
    }
    if (lastFolder_) {
        auto entries = sortedEntries(provider_.doListAll(lastFolder_->path.iri()));
        open_.push_back({*std::exchange(lastFolder_, std::nullopt), std::move(entries), 0});
    }
}

} // namespace storage::host
