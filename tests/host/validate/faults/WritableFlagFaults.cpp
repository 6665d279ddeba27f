#include "tests/host/validate/faults/BrokenProvider.h"
#include "tests/host/validate/faults/FaultCatalogue.h"
#include "tests/host/validate/faults/LocationParts.h"

#include <array>

namespace faults {

using namespace foundation::storage::provider;

namespace writable_flag_faults {
namespace {

/// Makes an entry writable for the lifetime of this object; then restores its flag.
class LiftedFlag {
public:
    LiftedFlag(const IProvider& provider, const StorageIRI& iri)
        : provider_(provider), iri_(iri), writable_(provider.doGetExtendedAttributes(iri).writable) {
        provider_.doSetWritable(iri_, true);
    }
    LiftedFlag(const LiftedFlag&) = delete;
    LiftedFlag& operator=(const LiftedFlag&) = delete;
    ~LiftedFlag() {
        if (provider_.doExists(iri_)) {
            provider_.doSetWritable(iri_, writable_);
        }
    }

private:
    const IProvider& provider_;
    StorageIRI iri_;
    bool writable_;
};

/// Ignores the flag of files.
class FileFlagIgnored final : public BrokenProvider {
public:
    void doSetWritable(const StorageIRI& iri, bool writable) const override {
        HookedProvider::doSetWritable(iri, writable || doFileExists(iri));
    }
};

/// Keeps folders read-only.
class FolderStaysReadOnly final : public BrokenProvider {
public:
    void doSetWritable(const StorageIRI& iri, bool writable) const override {
        HookedProvider::doSetWritable(
            iri, writable && (doFileExists(iri) || doGetFolderAttributes(iri).isWritable()));
    }
};

/// Shares the flag between all entries of a folder.
class FlagOfNeighbours final : public BrokenProvider {
public:
    void doSetWritable(const StorageIRI& iri, bool writable) const override {
        HookedProvider::doSetWritable(iri, writable);
        for (const std::u16string& name : doListAllNamesOnly(parentOf(iri))) {
            HookedProvider::doSetWritable(childOf(parentOf(iri), name), writable);
        }
    }
};

/// Ignores the flag of the folder of a new file.
class FilesGoIntoReadOnly final : public BrokenProvider {
public:
    void doCreateFile(const StorageIRI& iri) const override {
        const LiftedFlag lifted(sound(), parentOf(iri));
        HookedProvider::doCreateFile(iri);
    }
};

/// Names the read-only folder instead of the new one.
class ReadOnlyParentNamed final : public BrokenProvider {
public:
    void doCreateFolder(const StorageIRI& iri) const override {
        if (!sound().doGetFolderAttributes(parentOf(iri)).isWritable()) {
            throw Exception(ErrorCode::ReadOnly, parentOf(iri));
        }
        HookedProvider::doCreateFolder(iri);
    }
};

class FilesLeaveReadOnly final : public BrokenProvider {
public:
    void doRemoveFile(const StorageIRI& iri) const override {
        const LiftedFlag lifted(sound(), parentOf(iri));
        HookedProvider::doRemoveFile(iri);
    }
};

/// Removes a folder before checking the flag.
class FoldersLeaveReadOnly final : public BrokenProvider {
public:
    void doRemoveFolder(const StorageIRI& iri) const override {
        const bool allowed = sound().doGetFolderAttributes(parentOf(iri)).isWritable();
        const LiftedFlag lifted(sound(), parentOf(iri));
        HookedProvider::doRemoveFolder(iri);
        if (!allowed) {
            throw Exception(ErrorCode::ReadOnly, iri);
        }
    }
};

class ReadOnlyFileRemoved final : public BrokenProvider {
public:
    void doRemoveFile(const StorageIRI& iri) const override {
        if (doFileExists(iri)) {
            doSetWritable(iri, true);
        }
        HookedProvider::doRemoveFile(iri);
    }
};

class ReadOnlyFolderRemoved final : public BrokenProvider {
public:
    void doRemoveFolder(const StorageIRI& iri) const override {
        const LiftedFlag lifted(sound(), iri);
        HookedProvider::doRemoveFolder(iri);
    }
};

/// Reports all files as writable, but never makes a read-only entry writable.
class StaysProtected final : public BrokenProvider {
public:
    void doSetWritable(const StorageIRI& iri, bool writable) const override {
        HookedProvider::doSetWritable(iri, writable && sound().doGetExtendedAttributes(iri).writable);
    }
    FileAttributes doGetFileAttributes(const StorageIRI& iri) const override {
        const FileAttributes attributes = HookedProvider::doGetFileAttributes(iri);
        return {attributes.getSize(), attributes.getLastModified(), true};
    }
};

/// Reports files in a read-only folder as read-only.
class FlagInherited final : public BrokenProvider {
public:
    FileAttributes doGetFileAttributes(const StorageIRI& iri) const override {
        const FileAttributes own = HookedProvider::doGetFileAttributes(iri);
        return {own.getSize(), own.getLastModified(),
                own.isWritable() && doGetFolderAttributes(parentOf(iri)).isWritable()};
    }
};

/// Opens streams for reading like streams for writing.
class ReadOnlyCannotBeRead final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        return doOpenStream(iri, {.existence = ByteStreamExistence::MustExist});
    }
};

class FlagOfMissingIgnored final : public BrokenProvider {
public:
    void doSetWritable(const StorageIRI& iri, bool writable) const override {
        if (doExists(iri)) {
            HookedProvider::doSetWritable(iri, writable);
        }
    }
};

/// Checks flags before existence.
class FlagBeforeExistence final : public BrokenProvider {
public:
    void doCreateFile(const StorageIRI& iri) const override {
        if (!sound().doGetFolderAttributes(parentOf(iri)).isWritable()) {
            throw Exception(ErrorCode::ReadOnly, iri);
        }
        HookedProvider::doCreateFile(iri);
    }
};

class FlagBeforeAbsence final : public BrokenProvider {
public:
    void doRemoveFile(const StorageIRI& iri) const override {
        if (!sound().doGetFolderAttributes(parentOf(iri)).isWritable()) {
            throw Exception(ErrorCode::ReadOnly, iri);
        }
        HookedProvider::doRemoveFile(iri);
    }
};

class FlagBeforeContent final : public BrokenProvider {
public:
    void doRemoveFolder(const StorageIRI& iri) const override {
        if (!sound().doGetFolderAttributes(iri).isWritable()) {
            throw Exception(ErrorCode::ReadOnly, iri);
        }
        HookedProvider::doRemoveFolder(iri);
    }
};

class FlagByResolvedPath final : public BrokenProvider {
public:
    void doSetWritable(const StorageIRI& iri, bool writable) const override {
        try {
            HookedProvider::doSetWritable(
                StorageIRI(iri.getResolvedPath(), iri.getResolvedPath(), iri.hasParent()), writable);
        } catch (const Exception& failure) {
            throw Exception(failure.getErrorCode(), iri);
        }
    }
};

/// Ignores the flag of the root.
class RootFlagForShow final : public BrokenProvider {
public:
    void doCreateFolder(const StorageIRI& iri) const override {
        const LiftedFlag lifted(sound(), StorageIRI(u"/"));
        HookedProvider::doCreateFolder(iri);
    }
};

class RootFlagByPath final : public BrokenProvider {
public:
    void doSetWritable(const StorageIRI& iri, bool writable) const override {
        HookedProvider::doSetWritable(iri.getPath() == u"/" ? StorageIRI(u"/") : iri, writable);
    }
};

constexpr std::array table{
    Fault{"FileFlagIgnored", "6.1", build<FileFlagIgnored>},
    Fault{"FolderStaysReadOnly", "6.2", build<FolderStaysReadOnly>},
    Fault{"FlagOfNeighbours", "6.3", build<FlagOfNeighbours>},
    Fault{"FilesGoIntoReadOnly", "6.4", build<FilesGoIntoReadOnly>},
    Fault{"ReadOnlyParentNamed", "6.5", build<ReadOnlyParentNamed>},
    Fault{"FilesLeaveReadOnly", "6.6", build<FilesLeaveReadOnly>},
    Fault{"FoldersLeaveReadOnly", "6.7", build<FoldersLeaveReadOnly>},
    Fault{"ReadOnlyFileRemoved", "6.8", build<ReadOnlyFileRemoved>},
    Fault{"ReadOnlyFolderRemoved", "6.9", build<ReadOnlyFolderRemoved>},
    Fault{"StaysProtected", "6.10", build<StaysProtected>},
    Fault{"FlagInherited", "6.11", build<FlagInherited>},
    Fault{"ReadOnlyCannotBeRead", "6.12", build<ReadOnlyCannotBeRead>},
    Fault{"FlagOfMissingIgnored", "6.13", build<FlagOfMissingIgnored>},
    Fault{"FlagBeforeExistence", "6.14", build<FlagBeforeExistence>},
    Fault{"FlagBeforeAbsence", "6.15", build<FlagBeforeAbsence>},
    Fault{"FlagBeforeContent", "6.16", build<FlagBeforeContent>},
    Fault{"FlagByResolvedPath", "6.17", build<FlagByResolvedPath>},
    Fault{"RootFlagForShow", "6.18", build<RootFlagForShow>},
    Fault{"RootFlagByPath", "6.19", build<RootFlagByPath>},
};

} // namespace
} // namespace writable_flag_faults

std::span<const Fault> writableFlag() {
    return writable_flag_faults::table;
}

} // namespace faults
