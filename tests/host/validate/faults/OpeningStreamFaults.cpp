#include "tests/host/validate/faults/BrokenProvider.h"
#include "tests/host/validate/faults/FaultCatalogue.h"
#include "tests/support/ForwardingStream.h"

#include <array>

namespace faults {

using namespace foundation::storage::provider;

namespace opening_stream_faults {
namespace {

/// If `open` throws an Exception, throws it with the location `named` instead.
template <class Open>
std::unique_ptr<ByteStream> openNaming(const StorageIRI& named, const Open& open) {
    try {
        return open();
    } catch (const Exception& failure) {
        throw Exception(failure.getErrorCode(), named);
    }
}

/// Creates a file that must exist.
class CreatingWhatMustExist final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        OpenOptions lenient = options;
        lenient.existence = ByteStreamExistence::CreateIfMissing;
        return sound().doOpenStream(iri, lenient);
    }
};

/// Empties the file whenever it is opened for writing.
class EmptyingAlways final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        OpenOptions emptying = options;
        emptying.content = ByteStreamContent::Empty;
        return sound().doOpenStream(iri, emptying);
    }
};

/// Never empties the file.
class EmptyingForgotten final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        OpenOptions keeping = options;
        keeping.content = ByteStreamContent::Keep;
        return sound().doOpenStream(iri, keeping);
    }
};

/// Replaces the file to empty by a new one; open streams keep the old bytes.
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

/// Starts streams for writing at the end of the file.
class BeginningAtTheEnd final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        auto stream = sound().doOpenStream(iri, options);
        stream->seek(0, std::ios_base::end);
        return stream;
    }
};

/// Starts appending streams at the end of the file.
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

/// Creates a missing file that is opened for reading.
class ReadingCreates final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        if (!sound().doFileExists(iri)) {
            sound().doOpenStream(iri, {});
        }
        return sound().doOpenReadOnlyStream(iri);
    }
};

/// Names the missing folder instead of the file in it.
class NamingTheMissingFolder final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        const bool missing = !doFolderExists(folderOf(iri));
        return openNaming(missing ? folderOf(iri) : iri, [&] { return sound().doOpenStream(iri, options); });
    }
};

/// Throws AlreadyExists if the parent is a file.
class FileInTheWay final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        if (doFileExists(folderOf(iri))) {
            throw Exception(ErrorCode::AlreadyExists, iri);
        }
        return sound().doOpenReadOnlyStream(iri);
    }
};

/// Checks the writable flag after emptying the file.
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

/// Protects only files that have bytes.
class EmptyFilesUnprotected final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        const bool isProtected = doFileExists(iri) && !doGetFileAttributes(iri).isWritable();
        if (!isProtected || doGetFileAttributes(iri).getSize() > 0) {
            return sound().doOpenStream(iri, options);
        }
        doSetWritable(iri, true);
        auto stream = sound().doOpenStream(iri, options);
        doSetWritable(iri, false);
        return stream;
    }
};

/// Requires write permission for reading.
class ReadingNeedsPermission final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        if (doFileExists(iri) && !doGetFileAttributes(iri).isWritable()) {
            throw Exception(ErrorCode::ReadOnly, iri);
        }
        return sound().doOpenReadOnlyStream(iri);
    }
};

/// Names the read-only folder instead of the new file.
class NamingTheReadOnlyFolder final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        return openNaming(doExists(iri) ? iri : folderOf(iri),
                          [&] { return sound().doOpenStream(iri, options); });
    }
};

/// Refuses to write files in a read-only folder.
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

/// Throws NotFound for a folder.
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

/// Checks the existence of the file last.
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

/// Does not stamp an existing file.
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

/// Does not stamp the folder of a new file.
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

/// Stamps files that are opened for reading.
class ReadingStamps final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        return doOpenStream(iri, {.existence = ByteStreamExistence::MustExist});
    }
};

/// Appends for every value of the append option except 1.
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

/// Treats the lowest bit of the hint as the append option.
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

/// Opens a folder as an empty file.
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

/// Throws AlreadyExists for the root.
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

/// Creates read-only files.
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

/// Treats the value 3 as MustExist.
class ThreeMustExist final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        OpenOptions other = options;
        if (static_cast<int>(options.existence) == 3) {
            other.existence = ByteStreamExistence::MustExist;
        }
        return sound().doOpenStream(iri, other);
    }
};

/// Appends if the hint is 2.
class HintTwoAppends final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        OpenOptions other = options;
        if (options.hint == 2) {
            other.append = ByteStreamAppend::AppendAtEnd;
        }
        return sound().doOpenStream(iri, other);
    }
};

/// Leaves a lock file in a folder that is opened as a file.
class OpenedFolderIsLocked final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        if (doFolderExists(iri)) {
            sound().doOpenStream(StorageIRI(iri.getPath() + u"/.lock"), {});
        }
        return sound().doOpenStream(iri, options);
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
    Fault{"EmptyFilesUnprotected", "7.11", build<EmptyFilesUnprotected>},
    Fault{"ReadingNeedsPermission", "7.12", build<ReadingNeedsPermission>},
    Fault{"NamingTheReadOnlyFolder", "7.13", build<NamingTheReadOnlyFolder>},
    Fault{"ReadOnlyFolderGuardsBytes", "7.14", build<ReadOnlyFolderGuardsBytes>},
    Fault{"FolderOpens", "7.15", build<FolderOpens>},
    Fault{"OpenedFolderIsLocked", "7.15", build<OpenedFolderIsLocked>},
    Fault{"FolderNotFound", "7.16", build<FolderNotFound>},
    Fault{"ExistenceLast", "7.17", build<ExistenceLast>},
    Fault{"OpeningWithoutStamp", "7.18", build<OpeningWithoutStamp>},
    Fault{"FolderKeepsItsTime", "7.19", build<FolderKeepsItsTime>},
    Fault{"ReadingStamps", "7.20", build<ReadingStamps>},
    Fault{"AppendingUnlessOne", "7.21", build<AppendingUnlessOne>},
    Fault{"ThreeMustExist", "7.21", build<ThreeMustExist>},
    Fault{"HintAppends", "7.22", build<HintAppends>},
    Fault{"HintTwoAppends", "7.22", build<HintTwoAppends>},
    Fault{"RootInTheWay", "7.23", build<RootInTheWay>},
};

} // namespace
} // namespace opening_stream_faults

std::span<const Fault> openingStreams() {
    return opening_stream_faults::table;
}

} // namespace faults
