#include "host/validate/kit/TracedProvider.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <functional>
#include <utility>

namespace storage::host {

using namespace provider;

namespace {

using Stream = std::unique_ptr<ByteStream>;
using Listing = std::unique_ptr<IFolderEntryIterator>;

/// Calls `operation` and records the call.
template <class Operation>
auto traced(const OperationTrace& trace, const char* name, const std::u16string& path,
            const Operation& operation) {
    const OperationTrace::Call call(trace, name, path);
    return operation();
}

/// Also wraps the result. The wrapper is allocated first, because nothing may fail after `open` has changed
/// the storage.
template <class Wrapper, class Open>
auto wrapped(const OperationTrace& trace, const char* name, const std::u16string& path, const Open& open) {
    auto wrapper = std::make_unique<Wrapper>(trace, path);
    traced(trace, name, path, [&] { wrapper->inner = open(); });
    return wrapper->inner ? std::move(wrapper) : nullptr;
}

/// Base class of traced streams and listings.
template <class Interface>
class Traced : public Interface {
public:
    Traced(const OperationTrace& trace, std::u16string path) : trace_(trace), path_(std::move(path)) {}
    Traced(const Traced&) = delete;
    Traced& operator=(const Traced&) = delete;
    ~Traced() override {
        traced(trace_, "the destructor of a stream or a listing", path_, [&] { inner.reset(); });
    }

    std::unique_ptr<Interface> inner;

protected:
    template <class Operation, class... Arguments>
    auto call(const char* name, Operation operation, Arguments... arguments) const {
        return traced(trace_, name, path_, [&] { return std::invoke(operation, *inner, arguments...); });
    }

    const OperationTrace& trace_;
    const std::u16string path_;
};

class TracedStream final : public Traced<ByteStream> {
public:
    using Traced::Traced;

    long read(char* to, long count) override { return call("read", &ByteStream::read, to, count); }
    long write(const char* from, long count) override {
        return call("write", &ByteStream::write, from, count);
    }
    std::streampos seek(long offset, std::ios_base::seekdir direction) override {
        return call("seek", &ByteStream::seek, offset, direction);
    }
    void flush() override { call("flush", &ByteStream::flush); }
};

class TracedListing final : public Traced<IFolderEntryIterator> {
public:
    using Traced::Traced;

    FolderEntry getEntry() const override { return call("getEntry", &IFolderEntryIterator::getEntry); }
    bool hasNext() const override { return call("hasNext", &IFolderEntryIterator::hasNext); }
    void step() override { call("step", &IFolderEntryIterator::step); }
    Listing clone() const override {
        return wrapped<TracedListing>(trace_, "clone", path_, [&] { return inner->clone(); });
    }
};

class TracedProvider final : public IProvider {
public:
    TracedProvider(IProvider& inner, const OperationTrace& trace) : inner_(inner), trace_(trace) {}

    bool doHasFeature(const ExtendedFeature& feature) const override {
        return traced(trace_, "doHasFeature", {}, [&] { return inner_.doHasFeature(feature); });
    }
    void doShutdown() override {
        traced(trace_, "doShutdown", {}, [&] { inner_.doShutdown(); });
    }

    using Iri = StorageIRI;
    using Options = ByteStreamOpenOptions;
    using Policy = ReplacementPolicy;
    using Names = std::vector<std::u16string>;
    using Pattern = std::u16string;
    using Time = boost::posix_time::ptime;

// Forwards an operation with a location as its first parameter.
#define QZ_TRACED(Result, name, parameters, ...)                                                             \
    Result name parameters const override {                                                                  \
        return record(#name, &IProvider::name, __VA_ARGS__);                                                 \
    }
    // NOLINTBEGIN(performance-unnecessary-value-param): as in the interface
    QZ_TRACED(void, doCreateFile, (const Iri& iri), iri)
    QZ_TRACED(void, doCreateFolder, (const Iri& iri), iri)
    QZ_TRACED(void, doCreateFolderRecursive, (const Iri& iri), iri)
    QZ_TRACED(bool, doFileExists, (const Iri& iri), iri)
    QZ_TRACED(bool, doFolderExists, (const Iri& iri), iri)
    QZ_TRACED(void, doRemoveFile, (const Iri& iri), iri)
    QZ_TRACED(void, doMoveFile, (const Iri& iri, const Iri& b, const Policy& c), iri, b, c)
    QZ_TRACED(void, doRemoveFolder, (const Iri& iri), iri)
    QZ_TRACED(void, doRemoveFolderRecursively, (const Iri& iri), iri)
    QZ_TRACED(void, doMoveFolder, (const Iri& iri, const Iri& b, const Policy& c), iri, b, c)
    QZ_TRACED(FileAttributes, doGetFileAttributes, (const Iri& iri), iri)
    QZ_TRACED(FolderAttributes, doGetFolderAttributes, (const Iri& iri), iri)
    QZ_TRACED(Stream, doOpenStream, (const Iri& iri, const Options& b), iri, b)
    QZ_TRACED(Stream, doOpenReadOnlyStream, (const Iri& iri), iri)
    QZ_TRACED(Stream, doOpenTransactionalStream, (const Iri& iri, const Options& b), iri, b)
    QZ_TRACED(Stream, doOpenTransactionalStreamAtScratchLocation,
              (const Iri& iri, const Iri& b, const Options& c), iri, b, c)
    QZ_TRACED(Listing, doListAll, (const Iri& iri), iri)
    QZ_TRACED(Listing, doListAllWildcards, (const Iri& iri, Pattern b), iri, b)
    QZ_TRACED(Listing, doListFiles, (const Iri& iri), iri)
    QZ_TRACED(Listing, doListFilesWildcards, (const Iri& iri, Pattern b), iri, b)
    QZ_TRACED(Listing, doListFolders, (const Iri& iri), iri)
    QZ_TRACED(Listing, doListFoldersWildcards, (const Iri& iri, Pattern b), iri, b)
    QZ_TRACED(Names, doListAllNamesOnly, (const Iri& iri), iri)
    QZ_TRACED(Names, doListAllNamesOnlyWildcards, (const Iri& iri, Pattern b), iri, b)
    QZ_TRACED(Names, doListFoldersNamesOnly, (const Iri& iri), iri)
    QZ_TRACED(Names, doListFoldersNamesOnlyWildcards, (const Iri& iri, Pattern b), iri, b)
    QZ_TRACED(Names, doListFilesNamesOnly, (const Iri& iri), iri)
    QZ_TRACED(Names, doListFilesNamesOnlyWildcards, (const Iri& iri, Pattern b), iri, b)
    QZ_TRACED(Listing, doListAllRecursive, (const Iri& iri), iri)
    QZ_TRACED(Listing, doListAllRecursiveWildcards, (const Iri& iri, Pattern b), iri, b)
    QZ_TRACED(Names, doListAllRecursiveNamesOnly, (const Iri& iri), iri)
    QZ_TRACED(Names, doListAllRecursiveNamesOnlyWildcards, (const Iri& iri, Pattern b), iri, b)
    QZ_TRACED(void, doCopyFile, (const Iri& iri, const Iri& b, const Policy& c), iri, b, c)
    QZ_TRACED(void, doCopyFileAtomic, (const Iri& iri, const Iri& b, const Policy& c, CopyProgress d), iri, b,
              c, d)
    QZ_TRACED(void, doSetLastModified, (const Iri& iri, const Time& b), iri, b)
    QZ_TRACED(void, doSetWritable, (const Iri& iri, bool b), iri, b)
    QZ_TRACED(void, doPublishFolderEventsFor, (const Iri& iri, EventCallback b), iri, b)
    QZ_TRACED(void, doPublishFileEventsFor, (const Iri& iri, EventCallback b), iri, b)
    QZ_TRACED(void, doStopPublishingEventsFor, (const Iri& iri), iri)
    QZ_TRACED(void, doStartChangePollingMechanism, (const Iri& iri, EventCallback b), iri, b)
    QZ_TRACED(void, doStopChangePollingMechanism, (const Iri& iri), iri)
    QZ_TRACED(PathComparator, doGetPathComparator, (const Iri& iri), iri)
    QZ_TRACED(StorageIRI, doGetCanonicalLocation, (const Iri& iri), iri)
    QZ_TRACED(FilenameSensitivity, doGetFilenameSensitivity, (const Iri& iri), iri)
    QZ_TRACED(bool, doExists, (const Iri& iri), iri)
    QZ_TRACED(EntryExistence, doExistsExtended, (const Iri& iri), iri)
    QZ_TRACED(ExtendedAttributes, doGetExtendedAttributes, (const Iri& iri), iri)
    QZ_TRACED(ProviderStorageInfo, doGetProviderStorageInfo, (const Iri& iri), iri)
    QZ_TRACED(void, doTruncateToSize, (const Iri& iri, unsigned long long b), iri, b)
    // NOLINTEND(performance-unnecessary-value-param)

private:
    template <class Result, class... Parameters, class... Arguments>
    Result record(const char* name, Result (IProvider::*operation)(const Iri&, Parameters...) const,
                  const Iri& iri, const Arguments&... arguments) const {
        const auto run = [&] { return (inner_.*operation)(iri, arguments...); };
        if constexpr (std::is_same_v<Result, Stream>) {
            return wrapped<TracedStream>(trace_, name, iri.getPath(), run);
        } else if constexpr (std::is_same_v<Result, Listing>) {
            return wrapped<TracedListing>(trace_, name, iri.getPath(), run);
        } else {
            return traced(trace_, name, iri.getPath(), run);
        }
    }

    IProvider& inner_;
    const OperationTrace& trace_;
};

} // namespace

std::unique_ptr<IProvider> tracedProvider(IProvider& inner, const OperationTrace& trace) {
    return std::make_unique<TracedProvider>(inner, trace);
}

} // namespace storage::host
