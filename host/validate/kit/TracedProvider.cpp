#include "host/validate/kit/TracedProvider.h"

#include <utility>

namespace storage::host {

using namespace foundation::storage::provider;

namespace {

class TracedStream final : public ByteStream {
public:
    TracedStream(OperationTrace& trace, std::u16string path) : trace_(trace), path_(std::move(path)) {}

    TracedStream(const TracedStream&) = delete;
    TracedStream& operator=(const TracedStream&) = delete;
    ~TracedStream() override {
        const OperationTrace::Call call(trace_, "the destructor of a stream", path_);
        inner_.reset();
    }

    void wrap(std::unique_ptr<ByteStream> inner) { inner_ = std::move(inner); }

    long read(char* buffer, long count) override {
        const OperationTrace::Call call(trace_, "read", path_);
        return inner_->read(buffer, count);
    }
    long write(const char* buffer, long count) override {
        const OperationTrace::Call call(trace_, "write", path_);
        return inner_->write(buffer, count);
    }
    std::streampos seek(long offset, std::ios_base::seekdir direction) override {
        const OperationTrace::Call call(trace_, "seek", path_);
        return inner_->seek(offset, direction);
    }
    void flush() override {
        const OperationTrace::Call call(trace_, "flush", path_);
        inner_->flush();
    }

private:
    OperationTrace& trace_;
    std::u16string path_;
    std::unique_ptr<ByteStream> inner_;
};

class TracedListing final : public IFolderEntryIterator {
public:
    TracedListing(OperationTrace& trace, std::u16string path) : trace_(trace), path_(std::move(path)) {}

    void wrap(std::unique_ptr<IFolderEntryIterator> inner) { inner_ = std::move(inner); }

    FolderEntry getEntry() const override {
        const OperationTrace::Call call(trace_, "getEntry", path_);
        return inner_->getEntry();
    }
    bool hasNext() const override {
        const OperationTrace::Call call(trace_, "hasNext", path_);
        return inner_->hasNext();
    }
    void step() override {
        const OperationTrace::Call call(trace_, "step", path_);
        inner_->step();
    }
    std::unique_ptr<IFolderEntryIterator> clone() const override {
        const OperationTrace::Call call(trace_, "clone", path_);
        auto copy = inner_->clone();
        if (!copy) {
            return nullptr;
        }
        auto traced = std::make_unique<TracedListing>(trace_, path_);
        traced->wrap(std::move(copy));
        return traced;
    }

private:
    OperationTrace& trace_;
    std::u16string path_;
    std::unique_ptr<IFolderEntryIterator> inner_;
};

class TracedProvider final : public IProvider {
public:
    TracedProvider(IProvider& inner, OperationTrace& trace) : inner_(inner), trace_(trace) {}

    bool doHasFeature(const ExtendedFeature& feature) const override {
        const OperationTrace::Call call(trace_, "doHasFeature", {});
        return inner_.doHasFeature(feature);
    }
    void doShutdown() override {
        const OperationTrace::Call call(trace_, "doShutdown", {});
        inner_.doShutdown();
    }

    using Iri = StorageIRI;
    using Options = ByteStreamOpenOptions;
    using Policy = ReplacementPolicy;
    using Stream = std::unique_ptr<ByteStream>;
    using Listing = std::unique_ptr<IFolderEntryIterator>;
    using Names = std::vector<std::u16string>;
    using Pattern = std::u16string;
    using Time = boost::posix_time::ptime;
    using Size = unsigned long long;

// One line for each operation whose first parameter is a location, with the types of the others.
#define QZ_TRACED1(Result, name)                                                                             \
    Result name(const Iri& iri) const override {                                                             \
        return record(#name, &IProvider::name, iri);                                                         \
    }
#define QZ_TRACED2(Result, name, B)                                                                          \
    Result name(const Iri& iri, B b) const override {                                                        \
        return record(#name, &IProvider::name, iri, b);                                                      \
    }
#define QZ_TRACED3(Result, name, B, C)                                                                       \
    Result name(const Iri& iri, B b, C c) const override {                                                   \
        return record(#name, &IProvider::name, iri, b, c);                                                   \
    }
#define QZ_TRACED4(Result, name, B, C, D)                                                                    \
    Result name(const Iri& iri, B b, C c, D d) const override {                                              \
        return record(#name, &IProvider::name, iri, b, c, d);                                                \
    }
    // NOLINTBEGIN(performance-unnecessary-value-param): as in the interface
    QZ_TRACED1(void, doCreateFile)
    QZ_TRACED1(void, doCreateFolder)
    QZ_TRACED1(void, doCreateFolderRecursive)
    QZ_TRACED1(bool, doFileExists)
    QZ_TRACED1(bool, doFolderExists)
    QZ_TRACED1(void, doRemoveFile)
    QZ_TRACED3(void, doMoveFile, const Iri&, const Policy&)
    QZ_TRACED1(void, doRemoveFolder)
    QZ_TRACED1(void, doRemoveFolderRecursively)
    QZ_TRACED3(void, doMoveFolder, const Iri&, const Policy&)
    QZ_TRACED1(FileAttributes, doGetFileAttributes)
    QZ_TRACED1(FolderAttributes, doGetFolderAttributes)
    QZ_TRACED2(Stream, doOpenStream, const Options&)
    QZ_TRACED1(Stream, doOpenReadOnlyStream)
    QZ_TRACED2(Stream, doOpenTransactionalStream, const Options&)
    QZ_TRACED3(Stream, doOpenTransactionalStreamAtScratchLocation, const Iri&, const Options&)
    QZ_TRACED1(Listing, doListAll)
    QZ_TRACED2(Listing, doListAllWildcards, Pattern)
    QZ_TRACED1(Listing, doListFiles)
    QZ_TRACED2(Listing, doListFilesWildcards, Pattern)
    QZ_TRACED1(Listing, doListFolders)
    QZ_TRACED2(Listing, doListFoldersWildcards, Pattern)
    QZ_TRACED1(Names, doListAllNamesOnly)
    QZ_TRACED2(Names, doListAllNamesOnlyWildcards, Pattern)
    QZ_TRACED1(Names, doListFoldersNamesOnly)
    QZ_TRACED2(Names, doListFoldersNamesOnlyWildcards, Pattern)
    QZ_TRACED1(Names, doListFilesNamesOnly)
    QZ_TRACED2(Names, doListFilesNamesOnlyWildcards, Pattern)
    QZ_TRACED1(Listing, doListAllRecursive)
    QZ_TRACED2(Listing, doListAllRecursiveWildcards, Pattern)
    QZ_TRACED1(Names, doListAllRecursiveNamesOnly)
    QZ_TRACED2(Names, doListAllRecursiveNamesOnlyWildcards, Pattern)
    QZ_TRACED3(void, doCopyFile, const Iri&, const Policy&)
    QZ_TRACED4(void, doCopyFileAtomic, const Iri&, const Policy&, CopyProgress)
    QZ_TRACED2(void, doSetLastModified, const Time&)
    QZ_TRACED2(void, doSetWritable, bool)
    QZ_TRACED2(void, doPublishFolderEventsFor, EventCallback)
    QZ_TRACED2(void, doPublishFileEventsFor, EventCallback)
    QZ_TRACED1(void, doStopPublishingEventsFor)
    QZ_TRACED2(void, doStartChangePollingMechanism, EventCallback)
    QZ_TRACED1(void, doStopChangePollingMechanism)
    QZ_TRACED1(PathComparator, doGetPathComparator)
    QZ_TRACED1(StorageIRI, doGetCanonicalLocation)
    QZ_TRACED1(FilenameSensitivity, doGetFilenameSensitivity)
    QZ_TRACED1(bool, doExists)
    QZ_TRACED1(EntryExistence, doExistsExtended)
    QZ_TRACED1(ExtendedAttributes, doGetExtendedAttributes)
    QZ_TRACED1(ProviderStorageInfo, doGetProviderStorageInfo)
    QZ_TRACED2(void, doTruncateToSize, Size)
    // NOLINTEND(performance-unnecessary-value-param)

private:
    /// What wraps a stream or a listing is allocated first: an operation that has changed something must not fail.
    template <class Result, class... Parameters, class... Arguments>
    Result record(const char* name, Result (IProvider::*operation)(const Iri&, Parameters...) const,
                  const Iri& iri, const Arguments&... arguments) const {
        if constexpr (std::is_same_v<Result, Stream>) {
            return wrapped(std::make_unique<TracedStream>(trace_, iri.getPath()), name, operation, iri,
                           arguments...);
        } else if constexpr (std::is_same_v<Result, Listing>) {
            return wrapped(std::make_unique<TracedListing>(trace_, iri.getPath()), name, operation, iri,
                           arguments...);
        } else {
            const OperationTrace::Call call(trace_, name, iri.getPath());
            return (inner_.*operation)(iri, arguments...);
        }
    }

    template <class Wrapper, class Operation, class... Arguments>
    Wrapper wrapped(Wrapper wrapper, const char* name, Operation operation, const Iri& iri,
                    const Arguments&... arguments) const {
        const OperationTrace::Call call(trace_, name, iri.getPath());
        auto inner = (inner_.*operation)(iri, arguments...);
        if (!inner) {
            return nullptr;
        }
        wrapper->wrap(std::move(inner));
        return wrapper;
    }

    IProvider& inner_;
    OperationTrace& trace_;
};

} // namespace

std::unique_ptr<IProvider> tracedProvider(IProvider& inner, OperationTrace& trace) {
    return std::make_unique<TracedProvider>(inner, trace);
}

} // namespace storage::host
