#include "tests/host/validate/faults/BrokenProvider.h"
#include "tests/host/validate/faults/FaultCatalogue.h"
#include "tests/host/validate/faults/LocationParts.h"

#include <array>

namespace faults {

using namespace foundation::storage::provider;

namespace writable_flag_faults {
namespace {

/// An entry that may be changed as long as this object lives, whatever its flag says.
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

/// Files are writable, come what may.
class FileFlagIgnored final : public BrokenProvider {
public:
    void doSetWritable(const StorageIRI& iri, bool writable) const override {
        HookedProvider::doSetWritable(iri, writable || doFileExists(iri));
    }
};

/// What is read-only stays so, if it is a folder.
class FolderStaysReadOnly final : public BrokenProvider {
public:
    void doSetWritable(const StorageIRI& iri, bool writable) const override {
        HookedProvider::doSetWritable(
            iri, writable && (doFileExists(iri) || doGetFolderAttributes(iri).isWritable()));
    }
};

/// The flag is kept for a folder and all that it holds.
class FlagOfNeighbours final : public BrokenProvider {
public:
    void doSetWritable(const StorageIRI& iri, bool writable) const override {
        HookedProvider::doSetWritable(iri, writable);
        for (const std::u16string& name : doListAllNamesOnly(parentOf(iri))) {
            HookedProvider::doSetWritable(childOf(parentOf(iri), name), writable);
        }
    }
};

/// The flag of a folder is for show.
class FilesGoIntoReadOnly final : public BrokenProvider {
public:
    void doCreateFile(const StorageIRI& iri) const override {
        const LiftedFlag lifted(sound(), parentOf(iri));
        HookedProvider::doCreateFile(iri);
    }
};

/// The read-only folder is named, instead of what was to be made in it.
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

/// A folder is removed before anybody asks whether it may be.
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

/// What has once been read-only tells otherwise but stays so.
class StaysProtected final : public BrokenProvider {
public:
    void doSetWritable(const StorageIRI& iri, bool writable) const override {
        HookedProvider::doSetWritable(iri, writable && sound().doGetExtendedAttributes(iri).writable);
    }
    FileAttributes doGetFileAttributes(const StorageIRI& iri) const override {
        const FileAttributes told = HookedProvider::doGetFileAttributes(iri);
        return {told.getSize(), told.getLastModified(), true};
    }
};

/// What is in a read-only folder is read-only.
class FlagInherited final : public BrokenProvider {
public:
    FileAttributes doGetFileAttributes(const StorageIRI& iri) const override {
        const FileAttributes own = HookedProvider::doGetFileAttributes(iri);
        return {own.getSize(), own.getLastModified(),
                own.isWritable() && doGetFolderAttributes(parentOf(iri)).isWritable()};
    }
};

/// One way of opening for everything.
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

/// Flags are looked at before entries.
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

/// Entries of the root come and go always.
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
