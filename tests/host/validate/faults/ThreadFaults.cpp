#include "hostapi/storage/provider/ListingRange.h"
#include "tests/host/validate/faults/BrokenMoves.h"
#include "tests/host/validate/faults/FaultCatalogue.h"
#include "tests/host/validate/faults/ListingOfEntries.h"
#include "tests/support/ForwardingStream.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace faults {

using namespace foundation::storage::provider;

namespace thread_faults {
namespace {

using Policy = ReplacementPolicy;

/// Calls `action` and ignores its failures, which another thread may have caused.
template <class Action>
void anyway(const Action& action) {
    try {
        action();
    } catch (const Exception&) { // like a provider that checks first and then acts without a lock
    }
}

/// Checks that the file is missing, then creates it.
struct LookingThenCreatingFile : BrokenProvider {
    void doCreateFile(const StorageIRI& iri) const override {
        if (doExists(iri)) {
            throw Exception(ErrorCode::AlreadyExists, iri);
        }
        openTheWindow();
        anyway([&] { sound().doCreateFile(iri); });
    }
};

/// Checks that the folder is missing, then creates it.
struct LookingThenCreatingFolder : BrokenProvider {
    void doCreateFolder(const StorageIRI& iri) const override {
        if (doExists(iri)) {
            throw Exception(ErrorCode::AlreadyExists, iri);
        }
        openTheWindow();
        anyway([&] { sound().doCreateFolder(iri); });
    }
};

/// Checks that the file exists, then removes it.
struct LookingThenRemoving : BrokenProvider {
    void doRemoveFile(const StorageIRI& iri) const override {
        if (!doFileExists(iri)) {
            throw Exception(ErrorCode::NotFound, iri);
        }
        openTheWindow();
        anyway([&] { sound().doRemoveFile(iri); });
    }
};

/// Moves by copying and removing; other threads move in between.
void copyingThenRemoving(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                         Policy policy) {
    sound.doCopyFile(from, to, policy);
    openTheWindow();
    anyway([&] { sound.doRemoveFile(from); });
}

/// Checks whether the file exists, then creates a new one unconditionally.
struct LookingThenOpening : BrokenProvider {
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        if (!doFileExists(iri)) {
            openTheWindow();
            anyway([&] { sound().doRemoveFile(iri); });
        }
        return sound().doOpenStream(iri, options);
    }
};

/// Moves by writing the bytes to the destination and removing the source. If another thread has moved the
/// file meanwhile, it then has two locations.
void vanishingOnTheWay(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    std::array<char, 16> bytes{};
    const long count = sound.doOpenReadOnlyStream(from)->read(bytes.data(), 16);
    if (sound.doFileExists(to) && policy == Policy::RefuseExisting) {
        throw Exception(ErrorCode::AlreadyExists, to);
    }
    openTheWindow();
    sound.doOpenStream(to, {})->write(bytes.data(), std::max(count, 0L));
    anyway([&] { sound.doRemoveFile(from); });
}

/// Moves a folder entry by entry; other threads move in between.
void movingEntryByEntry(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy) {
    const auto names = sound.doListAllNamesOnly(from);
    openTheWindow();
    sound.doCreateFolder(to);
    for (const std::u16string& name : names) {
        openTheWindow();
        anyway([&] { sound.doMoveFile(below(from, name), below(to, name), Policy::RefuseExisting); });
        anyway([&] { sound.doMoveFolder(below(from, name), below(to, name), Policy::RefuseExisting); });
    }
    anyway([&] { sound.doRemoveFolder(from); });
}

/// Writes in two halves; other threads write in between.
struct TornWrite : ForwardingStream {
    using ForwardingStream::ForwardingStream;
    long write(const char* buffer, long count) override {
        inner().write(buffer, count / 2);
        openTheWindow();
        inner().write(buffer + count / 2, count - count / 2);
        return count;
    }
};

/// Reads the size first and relies on it.
struct ReadBelievingTheSize : ForwardingStream {
    using ForwardingStream::ForwardingStream;
    long read(char* buffer, long count) override {
        const auto position = inner().seek(0, std::ios_base::cur);
        const auto end = inner().seek(0, std::ios_base::end);
        inner().seek(std::streamoff(position), std::ios_base::beg);
        openTheWindow();
        const long expected = std::min(count, static_cast<long>(end - position));
        const long copied = std::max(inner().read(buffer, expected), 0L);
        std::fill(buffer + copied, buffer + std::max(expected, copied), '\0');
        return expected > 0 ? expected : -1;
    }
};

template <class Stream>
class StreamsOfThreads final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        return std::make_unique<Stream>(sound().doOpenStream(iri, options));
    }
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        return std::make_unique<Stream>(sound().doOpenReadOnlyStream(iri));
    }
};

/// A listing that finds each entry by its index in the current content of the folder.
class LiveListing final : public IFolderEntryIterator {
public:
    LiveListing(std::shared_ptr<const IProvider> provider, StorageIRI folder)
        : provider_(std::move(provider)), folder_(std::move(folder)) {}

    FolderEntry getEntry() const override { return *entry_; }
    bool hasNext() const override {
        openTheWindow();
        fetched_ = fetch();
        return fetched_.has_value();
    }
    void step() override {
        entry_ = fetched_;
        ++next_;
    }
    std::unique_ptr<IFolderEntryIterator> clone() const override {
        return std::make_unique<LiveListing>(provider_, folder_);
    }

private:
    std::optional<FolderEntry> fetch() const {
        auto listing = provider_->doListAll(folder_);
        for (std::size_t i = 0; listing->hasNext(); ++i) {
            listing->step();
            if (i == next_) {
                return listing->getEntry();
            }
        }
        return std::nullopt;
    }

    std::shared_ptr<const IProvider> provider_;
    StorageIRI folder_;
    std::size_t next_ = 0;
    mutable std::optional<FolderEntry> fetched_;
    std::optional<FolderEntry> entry_;
};

struct ListingLive : BrokenProvider {
    Listing doListAll(const StorageIRI& iri) const override {
        return std::make_unique<LiveListing>(sharedSound(), iri);
    }
};

/// Fails if another thread has created a parent folder.
struct CreatorsCollide : BrokenProvider {
    void doCreateFolderRecursive(const StorageIRI& iri) const override {
        if (doFolderExists(iri)) {
            return;
        }
        if (!doFolderExists(folderOf(iri))) {
            doCreateFolderRecursive(folderOf(iri));
        }
        openTheWindow();
        sound().doCreateFolder(iri);
    }
};

/// Fails if another thread has removed an entry of the tree.
struct RemoversCollide : BrokenProvider {
    void doRemoveFolderRecursively(const StorageIRI& iri) const override {
        for (const std::u16string& name : sound().doListAllNamesOnly(iri)) {
            openTheWindow();
            doFolderExists(below(iri, name)) ? doRemoveFolderRecursively(below(iri, name))
                                             : sound().doRemoveFile(below(iri, name));
        }
        if (iri.hasParent()) {
            sound().doRemoveFolder(iri);
        }
    }
};

/// Fails to list a tree if another thread has removed a folder in it.
struct TreeListingCollides : BrokenProvider {
    std::vector<std::u16string> doListAllRecursiveNamesOnly(const StorageIRI& iri) const override {
        std::vector<std::u16string> names;
        for (const FolderEntry& entry : readEntries(sound().doListAll(iri))) {
            names.push_back(entry.getName());
            if (entry.getType() == FolderEntry::EntryType::Folder) {
                openTheWindow();
                for (const std::u16string& name : doListAllRecursiveNamesOnly(below(iri, entry.getName()))) {
                    names.push_back(entry.getName() + u"/" + name);
                }
            }
        }
        return names;
    }
};

/// Copies in place, where others see the incomplete file.
struct CopyingInPlace : BrokenProvider {
    void doCopyFile(const StorageIRI& source, const StorageIRI& destination,
                    const Policy& /*policy*/) const override {
        const auto from = sound().doOpenReadOnlyStream(source);
        const auto to = sound().doOpenStream(destination, {.content = ByteStreamContent::Empty});
        std::array<char, 1000> block{};
        for (long count = 0; (count = from->read(block.data(), 1000)) > 0;) {
            openTheWindow();
            to->write(block.data(), count);
        }
    }
};

/// Throws a std::logic_error if a file disappears during a query.
struct QueriesGetConfused : BrokenProvider {
    FileAttributes doGetFileAttributes(const StorageIRI& iri) const override {
        const bool wasThere = doFileExists(iri);
        openTheWindow();
        if (wasThere && !doFileExists(iri)) {
            throw std::logic_error("a file has vanished");
        }
        return sound().doGetFileAttributes(iri);
    }
};

/// Shares the location of the file to remove between all threads.
class SharesTheLocationToRemove final : public BrokenProvider {
public:
    void doRemoveFile(const StorageIRI& iri) const override {
        note(iri);
        openTheWindow();
        anyway([&] { sound().doRemoveFile(noted()); });
    }

private:
    void note(const StorageIRI& iri) const {
        const std::lock_guard lock(mutex_);
        noted_ = iri;
    }
    StorageIRI noted() const {
        const std::lock_guard lock(mutex_);
        return *noted_;
    }

    mutable std::mutex mutex_;
    mutable std::optional<StorageIRI> noted_;
};

/// Sets a time in two steps: date and hours first.
struct TimeInTwoSteps : BrokenProvider {
    void doSetLastModified(const StorageIRI& iri, const boost::posix_time::ptime& time) const override {
        using namespace boost::posix_time;
        sound().doSetLastModified(iri, ptime(time.date(), hours(time.time_of_day().hours())));
        openTheWindow();
        sound().doSetLastModified(iri, time);
    }
};

/// A listing that shares its position with its clones.
class CommonPlace final : public IFolderEntryIterator {
public:
    explicit CommonPlace(std::vector<FolderEntry> entries)
        : CommonPlace(std::move(entries), std::make_shared<std::atomic<std::size_t>>(0)) {}
    CommonPlace(std::vector<FolderEntry> entries, std::shared_ptr<std::atomic<std::size_t>> next)
        : entries_(std::move(entries)), next_(std::move(next)) {}

    FolderEntry getEntry() const override { return entries_[current_]; }
    bool hasNext() const override { return *next_ < entries_.size(); }
    void step() override { current_ = std::min((*next_)++, entries_.size() - 1); }
    std::unique_ptr<IFolderEntryIterator> clone() const override {
        return std::make_unique<CommonPlace>(entries_, next_);
    }

private:
    std::vector<FolderEntry> entries_;
    std::shared_ptr<std::atomic<std::size_t>> next_;
    std::size_t current_ = 0;
};

struct ClonesCountTogether : BrokenProvider {
    Listing doListAll(const StorageIRI& iri) const override {
        return std::make_unique<CommonPlace>(readEntries(sound().doListAll(iri)));
    }
};

/// The thread that created the object.
class BoundToThread {
public:
    bool isHere() const { return std::this_thread::get_id() == thread_; }

private:
    std::thread::id thread_ = std::this_thread::get_id();
};

struct StreamOfOneThread : ForwardingStream {
    using ForwardingStream::ForwardingStream;
    long read(char* buffer, long count) override { return owner.isHere() ? inner().read(buffer, count) : -1; }
    BoundToThread owner;
};

class ListingOfOneThread final : public IFolderEntryIterator {
public:
    explicit ListingOfOneThread(std::unique_ptr<IFolderEntryIterator> inner) : inner_(std::move(inner)) {}

    FolderEntry getEntry() const override { return inner_->getEntry(); }
    bool hasNext() const override { return owner_.isHere() && inner_->hasNext(); }
    void step() override { inner_->step(); }
    std::unique_ptr<IFolderEntryIterator> clone() const override {
        return std::make_unique<ListingOfOneThread>(inner_->clone());
    }

private:
    std::unique_ptr<IFolderEntryIterator> inner_;
    BoundToThread owner_;
};

struct ListsForOneThread : BrokenProvider {
    Listing doListAll(const StorageIRI& iri) const override {
        return std::make_unique<ListingOfOneThread>(sound().doListAll(iri));
    }
};

struct ProviderOfOneThread : BrokenProvider {
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        if (!owner.isHere()) {
            throw std::logic_error("not connected");
        }
        return sound().doOpenReadOnlyStream(iri);
    }
    BoundToThread owner;
};

/// Checks whether the destination exists, then moves and replaces unconditionally.
void movingOverNewcomers(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                         Policy policy) {
    if (policy == Policy::RefuseExisting && sound.doExists(to)) {
        throw Exception(ErrorCode::AlreadyExists, to);
    }
    openTheWindow();
    sound.doMoveFile(from, to, Policy::ReplaceExisting);
}

/// Counts the files first, and lists no more files than that.
struct CountsFilesFirst : BrokenProvider {
    Listing doListFiles(const StorageIRI& iri) const override {
        const std::size_t count = readEntries(sound().doListFiles(iri)).size();
        openTheWindow();
        auto entries = readEntries(sound().doListFiles(iri));
        entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(std::min(count, entries.size())),
                      entries.end());
        return std::make_unique<ListingOfEntries>(entries);
    }
};

/// Writes a copy in place if nothing is there yet.
struct NewCopyInPlace : CopyingInPlace {
    void doCopyFile(const StorageIRI& source, const StorageIRI& destination,
                    const Policy& policy) const override {
        doExists(destination) ? BrokenProvider::doCopyFile(source, destination, policy)
                              : CopyingInPlace::doCopyFile(source, destination, policy);
    }
};

/// Sets a time in two steps: the date first.
struct DateThenTime : BrokenProvider {
    void doSetLastModified(const StorageIRI& iri, const boost::posix_time::ptime& time) const override {
        const auto previous = doGetExtendedAttributes(iri).lastModified;
        sound().doSetLastModified(iri, {time.date(), previous.time_of_day()});
        openTheWindow();
        sound().doSetLastModified(iri, time);
    }
};

/// Appends the missing zeros to a file that grows; another thread may have done so.
struct GrowthIsAdded : BrokenProvider {
    void doTruncateToSize(const StorageIRI& iri, unsigned long long size) const override {
        const auto previous = doGetFileAttributes(iri).getSize();
        if (size <= previous) {
            return sound().doTruncateToSize(iri, size);
        }
        openTheWindow();
        const std::string zeros(size - previous, '\0');
        sound()
            .doOpenStream(iri, OpenOptions::createOrAppend())
            ->write(zeros.data(), static_cast<long>(zeros.size()));
    }
};

constexpr std::array table{
    Fault{"LookingThenCreatingFile", "13.1", build<LookingThenCreatingFile>},
    Fault{"LookingThenCreatingFolder", "13.2", build<LookingThenCreatingFolder>},
    Fault{"LookingThenRemoving", "13.3", build<LookingThenRemoving>},
    Fault{"CopyingThenRemoving", "13.4", build<MovingFiles<copyingThenRemoving>>},
    Fault{"LookingThenOpening", "13.5", build<LookingThenOpening>},
    Fault{"VanishingOnTheWay", "13.6", build<MovingFiles<vanishingOnTheWay>>},
    Fault{"MovingEntryByEntry", "13.7", build<MovingFolders<movingEntryByEntry>>},
    Fault{"TornAppend", "13.8", build<StreamsOfThreads<TornWrite>>},
    Fault{"TornBlock", "13.9", build<StreamsOfThreads<TornWrite>>},
    Fault{"ListingLive", "13.10", build<ListingLive>},
    Fault{"CountsFilesFirst", "13.10", build<CountsFilesFirst>},
    Fault{"ReadBelievingTheSize", "13.11", build<StreamsOfThreads<ReadBelievingTheSize>>},
    Fault{"CreatorsCollide", "13.12", build<CreatorsCollide>},
    Fault{"RemoversCollide", "13.13", build<RemoversCollide>},
    Fault{"CopyingInPlace", "13.14", build<CopyingInPlace>},
    Fault{"NewCopyInPlace", "13.14", build<NewCopyInPlace>},
    Fault{"QueriesGetConfused", "13.15", build<QueriesGetConfused>},
    Fault{"SharesTheLocationToRemove", "13.16", build<SharesTheLocationToRemove>},
    Fault{"TimeInTwoSteps", "13.17", build<TimeInTwoSteps>},
    Fault{"DateThenTime", "13.17", build<DateThenTime>},
    Fault{"ClonesCountTogether", "13.18", build<ClonesCountTogether>},
    Fault{"StreamOfOneThread", "13.19", build<StreamsOfThreads<StreamOfOneThread>>},
    Fault{"ListsForOneThread", "13.20", build<ListsForOneThread>},
    Fault{"ProviderOfOneThread", "13.21", build<ProviderOfOneThread>},
    Fault{"MovingOverNewcomers", "13.22", build<MovingFiles<movingOverNewcomers>>},
    Fault{"TreeListingCollides", "13.26", build<TreeListingCollides>},
    Fault{"GrowthIsAdded", "13.27", build<GrowthIsAdded>},
};

} // namespace
} // namespace thread_faults

std::span<const Fault> threads() {
    return thread_faults::table;
}

} // namespace faults
