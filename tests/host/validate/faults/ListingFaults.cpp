#include "hostapi/storage/provider/ListingRange.h"
#include "tests/host/validate/faults/BrokenProvider.h"
#include "tests/host/validate/faults/FaultCatalogue.h"
#include "tests/host/validate/faults/ListingOfEntries.h"
#include "tests/host/validate/faults/LocationParts.h"

#include <algorithm>
#include <array>
#include <map>
#include <vector>

namespace faults {

using namespace foundation::storage::provider;

namespace listing_faults {
namespace {

using Listing = HookedProvider::Listing;
using Entries = ListingOfEntries::Entries;
using Type = FolderEntry::EntryType;

/// A listing of given entries that can query its provider.
class FolderListing : public ListingOfEntries {
public:
    FolderListing(const IProvider& provider, StorageIRI folder, Entries entries)
        : ListingOfEntries(std::move(entries)), provider_(provider), folder_(std::move(folder)) {}

protected:
    const IProvider& provider_;
    const StorageIRI folder_;
};

/// A provider with listings of a class that breaks a rule.
template <class BrokenListing>
class BrokenListings final : public BrokenProvider {
public:
    Listing doListAll(const StorageIRI& iri) const override {
        return broken(iri, HookedProvider::doListAll(iri));
    }
    Listing doListFiles(const StorageIRI& iri) const override {
        return broken(iri, HookedProvider::doListFiles(iri));
    }
    Listing doListFolders(const StorageIRI& iri) const override {
        return broken(iri, HookedProvider::doListFolders(iri));
    }

private:
    Listing broken(const StorageIRI& iri, Listing listing) const {
        return std::make_unique<BrokenListing>(sound(), iri, readEntries(std::move(listing)));
    }
};

/// Returns the current entries of the folder instead of a snapshot.
class NotASnapshot final : public FolderListing {
public:
    using FolderListing::FolderListing;

    bool hasNext() const override { return next_ < readEntries(provider_.doListAll(folder_)).size(); }
    void step() override {
        entries_ = readEntries(provider_.doListAll(folder_));
        ++next_;
    }
};

/// Skips removed entries.
class RemovedPassedOver final : public FolderListing {
public:
    using FolderListing::FolderListing;

    bool hasNext() const override {
        while (next_ < entries_.size() && !provider_.doExists(childOf(folder_, entries_[next_].getName()))) {
            ++next_;
        }
        return next_ < entries_.size();
    }
};

/// Checks at each step that the folder still exists.
class NeedsItsFolder final : public FolderListing {
public:
    using FolderListing::FolderListing;

    void step() override {
        provider_.doGetFolderAttributes(folder_);
        FolderListing::step();
    }
};

class CloneRestarts final : public FolderListing {
public:
    using FolderListing::FolderListing;

    Listing clone() const override { return std::make_unique<ListingOfEntries>(entries_); }
};

/// Starts a clone after the next entry.
class CloneSkipsOne final : public FolderListing {
public:
    using FolderListing::FolderListing;

    Listing clone() const override {
        const auto from = std::min(next_ + (next_ > 0 ? 1 : 0), entries_.size());
        return std::make_unique<ListingOfEntries>(
            Entries(entries_.begin() + static_cast<long>(from), entries_.end()));
    }
};

/// Creates a clone from a new listing of the folder.
class CloneReadsAgain final : public FolderListing {
public:
    using FolderListing::FolderListing;

    Listing clone() const override {
        Entries now = readEntries(provider_.doListAll(folder_));
        now.erase(now.begin(), now.begin() + static_cast<long>(std::min(next_, now.size())));
        return std::make_unique<ListingOfEntries>(now);
    }
};

/// Shares one position between a listing and its clones.
class ClonesMoveTogether final : public IFolderEntryIterator {
public:
    ClonesMoveTogether(const IProvider&, const StorageIRI&, Entries entries)
        : shared_(std::make_shared<ListingOfEntries>(std::move(entries))) {}

    FolderEntry getEntry() const override { return shared_->getEntry(); }
    bool hasNext() const override { return shared_->hasNext(); }
    void step() override { shared_->step(); }
    Listing clone() const override { return std::make_unique<ClonesMoveTogether>(*this); }

private:
    std::shared_ptr<ListingOfEntries> shared_;
};

/// Creates clones that depend on the listing.
class CloneNeedsListing final : public IFolderEntryIterator {
public:
    CloneNeedsListing(const IProvider&, const StorageIRI&, Entries entries)
        : owned_(std::make_shared<ListingOfEntries>(std::move(entries))), used_(owned_) {}
    explicit CloneNeedsListing(const std::shared_ptr<ListingOfEntries>& used) : used_(used) {}

    FolderEntry getEntry() const override { return used_.lock()->getEntry(); }
    bool hasNext() const override { return !used_.expired() && used_.lock()->hasNext(); }
    void step() override { used_.lock()->step(); }
    Listing clone() const override { return std::make_unique<CloneNeedsListing>(used_.lock()); }

private:
    std::shared_ptr<ListingOfEntries> owned_;
    std::weak_ptr<ListingOfEntries> used_;
};

/// Moves to the next entry in hasNext.
class AskingMoves final : public FolderListing {
public:
    using FolderListing::FolderListing;

    bool hasNext() const override { return next_++ < entries_.size(); }
    void step() override {}
    FolderEntry getEntry() const override { return entries_[std::min(next_, entries_.size()) - 1]; }
};

/// Has no current entry after the last step.
class LastEntryForgotten final : public FolderListing {
public:
    using FolderListing::FolderListing;

    FolderEntry getEntry() const override {
        return hasNext() ? FolderListing::getEntry() : FolderEntry(u"", Type::File);
    }
};

/// Counts entries of all kinds in hasNext of a listing of files.
class ChoosesLate final : public BrokenProvider {
public:
    Listing doListFiles(const StorageIRI& iri) const override {
        class Late final : public FolderListing {
        public:
            using FolderListing::FolderListing;

            bool hasNext() const override { return next_ < readEntries(provider_.doListAll(folder_)).size(); }
        };
        return std::make_unique<Late>(sound(), iri, readEntries(HookedProvider::doListFiles(iri)));
    }
};

/// Applies `change` to the entries of all listings.
template <void (*change)(const IProvider&, const StorageIRI&, Entries&)>
class ChangedListings final : public BrokenProvider {
public:
    Listing doListAll(const StorageIRI& iri) const override {
        return changed(iri, HookedProvider::doListAll(iri));
    }
    Listing doListFiles(const StorageIRI& iri) const override {
        return changed(iri, HookedProvider::doListFiles(iri));
    }
    Listing doListFolders(const StorageIRI& iri) const override {
        return changed(iri, HookedProvider::doListFolders(iri));
    }

private:
    Listing changed(const StorageIRI& iri, Listing listing) const {
        Entries entries = readEntries(std::move(listing));
        change(sound(), iri, entries);
        return std::make_unique<ListingOfEntries>(entries);
    }
};

void kindsSwapped(const IProvider&, const StorageIRI&, Entries& entries) {
    for (FolderEntry& entry : entries) {
        entry = FolderEntry(entry.getName(), entry.getType() == Type::File ? Type::Folder : Type::File);
    }
}

void withDot(const IProvider&, const StorageIRI&, Entries& entries) {
    entries.insert(entries.begin(), FolderEntry(u".", Type::Folder));
}

void withWhatIsBelow(const IProvider& provider, const StorageIRI& folder, Entries& entries) {
    entries = readEntries(provider.doListAllRecursive(folder));
}

void withoutFirst(const IProvider&, const StorageIRI&, Entries& entries) {
    if (entries.size() > 1) {
        entries.erase(entries.begin());
    }
}

void surrogatesLast(const IProvider&, const StorageIRI&, Entries& entries) {
    const auto rank = [](const FolderEntry& entry) {
        const char16_t unit = entry.getName().empty() ? u'\0' : entry.getName().front();
        return unit >= 0xD800 && unit < 0xE000 ? 0x10000 : static_cast<int>(unit);
    };
    std::stable_sort(entries.begin(), entries.end(), [&](const FolderEntry& left, const FolderEntry& right) {
        return rank(left) < rank(right);
    });
}

/// Also returns folders in a listing of files.
class FilesWithFolders final : public BrokenProvider {
public:
    Listing doListFiles(const StorageIRI& iri) const override { return doListAll(iri); }
};

/// Omits the last folder.
class LastFolderLost final : public BrokenProvider {
public:
    Listing doListFolders(const StorageIRI& iri) const override {
        Entries entries = readEntries(HookedProvider::doListFolders(iri));
        if (entries.size() > 1) {
            entries.pop_back();
        }
        return std::make_unique<ListingOfEntries>(entries);
    }
};

/// Clones a listing of folders as a listing of all entries.
class CloneForgetsKind final : public BrokenProvider {
public:
    Listing doListFolders(const StorageIRI& iri) const override {
        class Forgetting final : public FolderListing {
        public:
            using FolderListing::FolderListing;

            Listing clone() const override { return provider_.doListAll(folder_); }
        };
        return std::make_unique<Forgetting>(sound(), iri, readEntries(HookedProvider::doListFolders(iri)));
    }
};

/// Omits files in deep folders.
class FewFilesFarDown final : public BrokenProvider {
public:
    Listing doListFiles(const StorageIRI& iri) const override {
        const bool isFarDown = std::count(iri.getPath().begin(), iri.getPath().end(), u'/') > 2;
        return isFarDown ? std::make_unique<ListingOfEntries>(Entries()) : HookedProvider::doListFiles(iri);
    }
};

/// Returns an empty listing for a missing folder.
class MissingListsNothing final : public BrokenProvider {
public:
    Listing doListAll(const StorageIRI& iri) const override {
        return iri.hasParent() && !doExists(iri) ? std::make_unique<ListingOfEntries>(Entries())
                                                 : HookedProvider::doListAll(iri);
    }
};

/// Throws NotFound with the parent of a missing folder.
class FilesOfMissing final : public BrokenProvider {
public:
    Listing doListFiles(const StorageIRI& iri) const override {
        if (iri.hasParent() && !doExists(iri)) {
            throw Exception(ErrorCode::NotFound, parentOf(iri));
        }
        return HookedProvider::doListFiles(iri);
    }
};

class FoldersOfMissing final : public BrokenProvider {
public:
    Listing doListFolders(const StorageIRI& iri) const override {
        if (iri.hasParent() && !doExists(iri)) {
            throw Exception(ErrorCode::FolderNotEmpty, iri);
        }
        return HookedProvider::doListFolders(iri);
    }
};

/// Lists a file as its own only entry.
class FileListsItself final : public BrokenProvider {
public:
    Listing doListAll(const StorageIRI& iri) const override {
        return doFileExists(iri) ? std::make_unique<ListingOfEntries>(Entries{{nameOf(iri), Type::File}})
                                 : HookedProvider::doListAll(iri);
    }
};

class FilesOfFile final : public BrokenProvider {
public:
    Listing doListFiles(const StorageIRI& iri) const override {
        return HookedProvider::doListFiles(doFileExists(iri) ? parentOf(iri) : iri);
    }
};

class FoldersOfFile final : public BrokenProvider {
public:
    Listing doListFolders(const StorageIRI& iri) const override {
        if (doFileExists(iri)) {
            throw Exception(ErrorCode::AlreadyExists, iri);
        }
        return HookedProvider::doListFolders(iri);
    }
};

/// Shares one listing of a folder between all callers.
class OneListingForAll final : public BrokenProvider {
public:
    Listing doListAll(const StorageIRI& iri) const override {
        const std::weak_ptr<IFolderEntryIterator>& known = known_[iri.getPath()];
        auto shared = known.lock();
        if (!shared) {
            shared = HookedProvider::doListAll(iri);
            known_[iri.getPath()] = shared;
        }
        return std::make_unique<Shared>(shared);
    }

private:
    class Shared final : public IFolderEntryIterator {
    public:
        explicit Shared(std::shared_ptr<IFolderEntryIterator> shared) : shared_(std::move(shared)) {}

        FolderEntry getEntry() const override { return shared_->getEntry(); }
        bool hasNext() const override { return shared_->hasNext(); }
        void step() override { shared_->step(); }
        Listing clone() const override { return shared_->clone(); }

    private:
        std::shared_ptr<IFolderEntryIterator> shared_;
    };

    mutable std::map<std::u16string, std::weak_ptr<IFolderEntryIterator>> known_;
};

/// Lists no folders in the root.
class RootKeepsQuiet final : public BrokenProvider {
public:
    Listing doListFolders(const StorageIRI& iri) const override {
        return iri.hasParent() ? HookedProvider::doListFolders(iri)
                               : std::make_unique<ListingOfEntries>(Entries());
    }
};

/// Returns only the first `left` entries of a listing.
class FirstPage final : public IFolderEntryIterator {
public:
    FirstPage(std::unique_ptr<IFolderEntryIterator> inner, int left)
        : inner_(std::move(inner)), left_(left) {}

    FolderEntry getEntry() const override { return inner_->getEntry(); }
    bool hasNext() const override { return left_ > 0 && inner_->hasNext(); }
    void step() override {
        inner_->step();
        --left_;
    }
    std::unique_ptr<IFolderEntryIterator> clone() const override {
        return std::make_unique<FirstPage>(inner_->clone(), left_);
    }

private:
    std::unique_ptr<IFolderEntryIterator> inner_;
    int left_;
};

class FilesOfFirstPage final : public BrokenProvider {
public:
    Listing doListFiles(const StorageIRI& iri) const override {
        return std::make_unique<FirstPage>(sound().doListFiles(iri), 1000);
    }
};

constexpr std::array table{
    Fault{"KindsSwapped", "9.1", build<ChangedListings<kindsSwapped>>},
    Fault{"FirstEntryLost", "9.1", build<ChangedListings<withoutFirst>>},
    Fault{"FilesWithFolders", "9.2", build<FilesWithFolders>},
    Fault{"LastFolderLost", "9.3", build<LastFolderLost>},
    Fault{"DotIsListed", "9.4", build<ChangedListings<withDot>>},
    Fault{"ChoosesLate", "9.5", build<ChoosesLate>},
    Fault{"ListsWhatIsBelow", "9.6", build<ChangedListings<withWhatIsBelow>>},
    Fault{"MissingListsNothing", "9.7", build<MissingListsNothing>},
    Fault{"FilesOfMissing", "9.8", build<FilesOfMissing>},
    Fault{"FoldersOfMissing", "9.9", build<FoldersOfMissing>},
    Fault{"FileListsItself", "9.10", build<FileListsItself>},
    Fault{"FilesOfFile", "9.11", build<FilesOfFile>},
    Fault{"FoldersOfFile", "9.12", build<FoldersOfFile>},
    Fault{"NotASnapshot", "9.13", build<BrokenListings<NotASnapshot>>},
    Fault{"RemovedPassedOver", "9.14", build<BrokenListings<RemovedPassedOver>>},
    Fault{"ListingNeedsFolder", "9.15", build<BrokenListings<NeedsItsFolder>>},
    Fault{"CloneRestarts", "9.16", build<BrokenListings<CloneRestarts>>},
    Fault{"CloneSkipsOne", "9.17", build<BrokenListings<CloneSkipsOne>>},
    Fault{"CloneForgetsKind", "9.18", build<CloneForgetsKind>},
    Fault{"ClonesMoveTogether", "9.19", build<BrokenListings<ClonesMoveTogether>>},
    Fault{"CloneNeedsListing", "9.20", build<BrokenListings<CloneNeedsListing>>},
    Fault{"CloneReadsAgain", "9.21", build<BrokenListings<CloneReadsAgain>>},
    Fault{"AskingMoves", "9.22", build<BrokenListings<AskingMoves>>},
    Fault{"LastEntryForgotten", "9.23", build<BrokenListings<LastEntryForgotten>>},
    Fault{"OneListingForAll", "9.24", build<OneListingForAll>},
    Fault{"RootKeepsQuiet", "9.25", build<RootKeepsQuiet>},
    Fault{"CharactersInOrder", "9.26", build<ChangedListings<surrogatesLast>>},
    Fault{"FewFilesFarDown", "9.27", build<FewFilesFarDown>},
    Fault{"FilesOfFirstPage", "9.28", build<FilesOfFirstPage>},
};

} // namespace
} // namespace listing_faults

std::span<const Fault> listings() {
    return listing_faults::table;
}

} // namespace faults
