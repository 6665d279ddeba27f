#include "tests/host/validate/faults/BrokenProvider.h"
#include "tests/host/validate/faults/FaultCatalogue.h"
#include "tests/support/ForwardingStream.h"

#include <array>

namespace faults {

using namespace foundation::storage::provider;

namespace opening_stream_faults {
namespace {

/// What `open` says is missing is said to be at another location.
template <class Open>
std::unique_ptr<ByteStream> openNaming(const StorageIRI& named, const Open& open) {
    try {
        return open();
    } catch (const Exception& failure) {
        throw Exception(failure.getErrorCode(), named);
    }
}

/// A file that must exist is created all the same.
class CreatingWhatMustExist final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        OpenOptions lenient = options;
        lenient.existence = ByteStreamExistence::CreateIfMissing;
        return sound().doOpenStream(iri, lenient);
    }
};

/// Every opening for writing starts from nothing.
class EmptyingAlways final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        OpenOptions emptying = options;
        emptying.content = ByteStreamContent::Empty;
        return sound().doOpenStream(iri, emptying);
    }
};

/// The file is not emptied, whatever the options say.
class EmptyingForgotten final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        OpenOptions keeping = options;
        keeping.content = ByteStreamContent::Keep;
        return sound().doOpenStream(iri, keeping);
    }
};

/// A new file takes the place of the one that is to be emptied; who has that open goes on with the old bytes.
class EmptyingByANewFile final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        if (options.content == ByteStreamContent::Empty && doFileExists(iri)) {
            doRemoveFile(iri);
            doCreateFile(iri);
        }
        return sound().doOpenStream(iri, options);
    }
};

/// Streams for writing begin where the file ends.
class BeginningAtTheEnd final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        auto stream = sound().doOpenStream(iri, options);
        stream->seek(0, std::ios_base::end);
        return stream;
    }
};

/// Streams that append begin where the file ends.
class AppendingFromTheEnd final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        auto stream = sound().doOpenStream(iri, options);
        if (options.append == ByteStreamAppend::AppendAtEnd) {
            stream->seek(0, std::ios_base::end);
        }
        return stream;
    }
};

/// Opening for reading creates what is missing.
class ReadingCreates final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        if (!sound().doFileExists(iri)) {
            sound().doOpenStream(iri, {});
        }
        return sound().doOpenReadOnlyStream(iri);
    }
};

/// A missing folder is named instead of the file in it.
class NamingTheMissingFolder final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        const bool missing = !doFolderExists(folderOf(iri));
        return openNaming(missing ? folderOf(iri) : iri, [&] { return sound().doOpenStream(iri, options); });
    }
};

/// A file above the file counts as something that is in the way.
class FileInTheWay final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        if (doFileExists(folderOf(iri))) {
            throw Exception(ErrorCode::AlreadyExists, iri);
        }
        return sound().doOpenReadOnlyStream(iri);
    }
};

/// The flag is asked for when the file has been emptied already.
class EmptyingBeforeRefusing final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        if (options.content == ByteStreamContent::Empty && doFileExists(iri)) {
            const bool writable = doGetFileAttributes(iri).isWritable();
            const auto time = doGetFileAttributes(iri).getLastModified();
            doSetWritable(iri, true);
            sound().doOpenStream(iri, options);
            doSetLastModified(iri, time);
            doSetWritable(iri, writable);
        }
        return sound().doOpenStream(iri, options);
    }
};

/// Reading needs the permission to write.
class ReadingNeedsPermission final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        if (doFileExists(iri) && !doGetFileAttributes(iri).isWritable()) {
            throw Exception(ErrorCode::ReadOnly, iri);
        }
        return sound().doOpenReadOnlyStream(iri);
    }
};

/// The read-only folder is named instead of the file that cannot be made in it.
class NamingTheReadOnlyFolder final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        return openNaming(doExists(iri) ? iri : folderOf(iri),
                          [&] { return sound().doOpenStream(iri, options); });
    }
};

/// A read-only folder keeps its files from being written.
class ReadOnlyFolderGuardsBytes final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        if (doFolderExists(folderOf(iri)) && !doGetFolderAttributes(folderOf(iri)).isWritable()) {
            throw Exception(ErrorCode::ReadOnly, iri);
        }
        return sound().doOpenStream(iri, options);
    }
};

/// A folder is no file, so it is not found.
class FolderNotFound final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        if (doFolderExists(iri)) {
            throw Exception(ErrorCode::NotFound, iri);
        }
        return sound().doOpenStream(iri, options);
    }
};

/// That a file must exist is looked at last.
class ExistenceLast final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        if (!doExists(iri) && doFolderExists(folderOf(iri)) &&
            !doGetFolderAttributes(folderOf(iri)).isWritable()) {
            throw Exception(ErrorCode::ReadOnly, iri);
        }
        return sound().doOpenStream(iri, options);
    }
};

/// Only what is written counts as a change.
class OpeningWithoutStamp final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        if (!doFileExists(iri)) {
            return sound().doOpenStream(iri, options);
        }
        const auto time = doGetFileAttributes(iri).getLastModified();
        auto stream = sound().doOpenStream(iri, options);
        doSetLastModified(iri, time);
        return stream;
    }
};

/// The folder of a file that opening creates keeps its time.
class FolderKeepsItsTime final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        const auto time = doGetFolderAttributes(folderOf(iri)).getLastModified();
        auto stream = sound().doOpenStream(iri, options);
        doSetLastModified(folderOf(iri), time);
        return stream;
    }
};

/// Reading opens the file as writing does.
class ReadingStamps final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        return doOpenStream(iri, {.existence = ByteStreamExistence::MustExist});
    }
};

/// Whatever is not 1 appends.
class AppendingUnlessOne final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        OpenOptions other = options;
        if (options.append != ByteStreamAppend::WriteAtPosition) {
            other.append = ByteStreamAppend::AppendAtEnd;
        }
        return sound().doOpenStream(iri, other);
    }
};

/// The lowest bit of the hint is taken for the wish to append.
class HintAppends final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        OpenOptions other = options;
        if (options.hint % 2 != 0) {
            other.append = ByteStreamAppend::AppendAtEnd;
        }
        return sound().doOpenStream(iri, other);
    }
};

/// A folder opens like an empty file.
class FolderOpens final : public BrokenProvider {
    class Nothing final : public ByteStream {
    public:
        long read(char* /*buffer*/, long /*count*/) override { return -1; }
        long write(const char* /*buffer*/, long count) override { return count; }
        std::streampos seek(long /*offset*/, std::ios_base::seekdir /*direction*/) override { return -1; }
        void flush() override {}
    };

public:
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        return doFolderExists(iri) ? std::make_unique<Nothing>() : sound().doOpenReadOnlyStream(iri);
    }
};

/// The root is a folder, and as such in the way.
class RootInTheWay final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        if (!iri.hasParent()) {
            throw Exception(ErrorCode::AlreadyExists, iri);
        }
        return sound().doOpenStream(iri, options);
    }
};

/// Opening creates files that are read-only.
class CreatingReadOnly final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        const bool create = !doFileExists(iri);
        auto stream = sound().doOpenStream(iri, options);
        if (create) {
            doSetWritable(iri, false);
        }
        return stream;
    }
};

constexpr std::array table{
    Fault{"CreatingReadOnly", "7.1", build<CreatingReadOnly>},
    Fault{"CreatingWhatMustExist", "7.2", build<CreatingWhatMustExist>},
    Fault{"EmptyingAlways", "7.3", build<EmptyingAlways>},
    Fault{"EmptyingForgotten", "7.4", build<EmptyingForgotten>},
    Fault{"EmptyingByANewFile", "7.5", build<EmptyingByANewFile>},
    Fault{"BeginningAtTheEnd", "7.6", build<BeginningAtTheEnd>},
    Fault{"AppendingFromTheEnd", "7.7", build<AppendingFromTheEnd>},
    Fault{"ReadingCreates", "7.8", build<ReadingCreates>},
    Fault{"NamingTheMissingFolder", "7.9", build<NamingTheMissingFolder>},
    Fault{"FileInTheWay", "7.10", build<FileInTheWay>},
    Fault{"EmptyingBeforeRefusing", "7.11", build<EmptyingBeforeRefusing>},
    Fault{"ReadingNeedsPermission", "7.12", build<ReadingNeedsPermission>},
    Fault{"NamingTheReadOnlyFolder", "7.13", build<NamingTheReadOnlyFolder>},
    Fault{"ReadOnlyFolderGuardsBytes", "7.14", build<ReadOnlyFolderGuardsBytes>},
    Fault{"FolderOpens", "7.15", build<FolderOpens>},
    Fault{"FolderNotFound", "7.16", build<FolderNotFound>},
    Fault{"ExistenceLast", "7.17", build<ExistenceLast>},
    Fault{"OpeningWithoutStamp", "7.18", build<OpeningWithoutStamp>},
    Fault{"FolderKeepsItsTime", "7.19", build<FolderKeepsItsTime>},
    Fault{"ReadingStamps", "7.20", build<ReadingStamps>},
    Fault{"AppendingUnlessOne", "7.21", build<AppendingUnlessOne>},
    Fault{"HintAppends", "7.22", build<HintAppends>},
    Fault{"RootInTheWay", "7.23", build<RootInTheWay>},
};

} // namespace
} // namespace opening_stream_faults

std::span<const Fault> openingStreams() {
    return opening_stream_faults::table;
}

} // namespace faults
