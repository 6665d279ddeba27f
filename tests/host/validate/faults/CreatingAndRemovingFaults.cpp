#include "tests/host/validate/faults/BrokenProvider.h"
#include "tests/host/validate/faults/FaultCatalogue.h"
#include "tests/host/validate/faults/LocationParts.h"

#include <array>
#include <map>

namespace faults {

using namespace foundation::storage::provider;

namespace creating_and_removing_faults {
namespace {

/// Ignores the creation of an existing file.
class CreatingTwice final : public BrokenProvider {
public:
    void doCreateFile(const StorageIRI& iri) const override {
        if (!doFileExists(iri)) {
            HookedProvider::doCreateFile(iri);
        }
    }
};

/// Replaces an empty folder by a new file.
class FileReplacesFolder final : public BrokenProvider {
public:
    void doCreateFile(const StorageIRI& iri) const override {
        if (doFolderExists(iri)) {
            doRemoveFolder(iri);
        }
        HookedProvider::doCreateFile(iri);
    }
};

/// Throws NotFound for every folder that cannot be created.
class ExistsAsNotFound final : public BrokenProvider {
public:
    void doCreateFolder(const StorageIRI& iri) const override {
        try {
            HookedProvider::doCreateFolder(iri);
        } catch (const Exception&) {
            throw Exception(ErrorCode::NotFound, iri);
        }
    }
};

/// Ignores the creation of an existing folder.
class FolderMadeAgain final : public BrokenProvider {
public:
    void doCreateFolder(const StorageIRI& iri) const override {
        if (!iri.hasParent() || !doFolderExists(iri)) {
            HookedProvider::doCreateFolder(iri);
        }
    }
};

/// Creates missing parent folders of a new file.
class MissingFoldersMade final : public BrokenProvider {
public:
    void doCreateFile(const StorageIRI& iri) const override {
        if (iri.hasParent() && !doFileExists(parentOf(iri))) {
            doCreateFolderRecursive(parentOf(iri));
        }
        HookedProvider::doCreateFile(iri);
    }
};

/// Names the missing parent folder instead of the new folder.
class ParentNamed final : public BrokenProvider {
public:
    void doCreateFolder(const StorageIRI& iri) const override {
        if (iri.hasParent() && !doExists(parentOf(iri))) {
            throw Exception(ErrorCode::NotFound, parentOf(iri));
        }
        HookedProvider::doCreateFolder(iri);
    }
};

/// Throws AlreadyExists if the parent of a new file is a file.
class FileAboveFile final : public BrokenProvider {
public:
    void doCreateFile(const StorageIRI& iri) const override {
        if (iri.hasParent() && doFileExists(parentOf(iri))) {
            throw Exception(ErrorCode::AlreadyExists, parentOf(iri));
        }
        HookedProvider::doCreateFile(iri);
    }
};

class FileAboveFolder final : public BrokenProvider {
public:
    void doCreateFolder(const StorageIRI& iri) const override {
        if (iri.hasParent() && doFileExists(parentOf(iri))) {
            throw Exception(ErrorCode::AlreadyExists, iri);
        }
        HookedProvider::doCreateFolder(iri);
    }
};

/// Restores the bytes of a removed file in a new file with its name.
class OldBytesBack final : public BrokenProvider {
public:
    void doRemoveFile(const StorageIRI& iri) const override {
        std::string bytes(100, ' ');
        const long count = doFileExists(iri) ? doOpenReadOnlyStream(iri)->read(bytes.data(), 100) : 0;
        bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        HookedProvider::doRemoveFile(iri);
        removed_[iri.getPath()] = bytes;
    }

    void doCreateFile(const StorageIRI& iri) const override {
        HookedProvider::doCreateFile(iri);
        const std::string& bytes = removed_[iri.getPath()];
        doOpenStream(iri, {})->write(bytes.data(), static_cast<long>(bytes.size()));
    }

private:
    mutable std::map<std::u16string, std::string> removed_;
};

/// Reports removed folders as existing.
class RemovedFolderStaysTaken final : public BrokenProvider {
public:
    void doRemoveFolder(const StorageIRI& iri) const override {
        HookedProvider::doRemoveFolder(iri);
        removed_[iri.getPath()] = true;
    }

    bool doFolderExists(const StorageIRI& iri) const override {
        return removed_.contains(iri.getPath()) || HookedProvider::doFolderExists(iri);
    }

private:
    mutable std::map<std::u16string, bool> removed_;
};

/// Ignores the removal of missing files.
class MissingFileRemoved final : public BrokenProvider {
public:
    void doRemoveFile(const StorageIRI& iri) const override {
        if (doExists(iri)) {
            HookedProvider::doRemoveFile(iri);
        }
    }
};

class MissingFolderIsNotEmpty final : public BrokenProvider {
public:
    void doRemoveFolder(const StorageIRI& iri) const override {
        if (!doExists(iri)) {
            throw Exception(ErrorCode::FolderNotEmpty, iri);
        }
        HookedProvider::doRemoveFolder(iri);
    }
};

/// Names the missing parent folder instead of the file in it.
class ParentOfRemovedNamed final : public BrokenProvider {
public:
    void doRemoveFile(const StorageIRI& iri) const override {
        if (iri.hasParent() && !doFolderExists(parentOf(iri))) {
            throw Exception(ErrorCode::NotFound, parentOf(iri));
        }
        HookedProvider::doRemoveFile(iri);
    }
};

/// Removes files and folders with the same operation.
class RemoveFileTakesFolders final : public BrokenProvider {
public:
    void doRemoveFile(const StorageIRI& iri) const override {
        if (iri.hasParent() && doFolderExists(iri)) {
            HookedProvider::doRemoveFolder(iri);
            return;
        }
        HookedProvider::doRemoveFile(iri);
    }
};

class RemoveFolderTakesFiles final : public BrokenProvider {
public:
    void doRemoveFolder(const StorageIRI& iri) const override {
        if (doFileExists(iri)) {
            HookedProvider::doRemoveFile(iri);
            return;
        }
        HookedProvider::doRemoveFolder(iri);
    }
};

/// Removes folders with the files in them.
class RemovesFoldersWithFiles final : public BrokenProvider {
public:
    void doRemoveFolder(const StorageIRI& iri) const override {
        for (const std::u16string& name : doListFilesNamesOnly(iri)) {
            doRemoveFile(childOf(iri, name));
        }
        HookedProvider::doRemoveFolder(iri);
    }
};

/// Throws AlreadyExists for a folder that is not empty.
class NotEmptyAsExists final : public BrokenProvider {
public:
    void doRemoveFolder(const StorageIRI& iri) const override {
        try {
            HookedProvider::doRemoveFolder(iri);
        } catch (const Exception& failure) {
            throw Exception(failure.getErrorCode() == ErrorCode::FolderNotEmpty ? ErrorCode::AlreadyExists
                                                                                : failure.getErrorCode(),
                            iri);
        }
    }
};

/// Treats a folder as not empty if it ever contained a file.
class NeverEmptyAgain final : public BrokenProvider {
public:
    void doCreateFile(const StorageIRI& iri) const override {
        HookedProvider::doCreateFile(iri);
        used_[parentOf(iri).getPath()] = true;
    }

    void doRemoveFolder(const StorageIRI& iri) const override {
        if (used_.contains(iri.getPath())) {
            throw Exception(ErrorCode::FolderNotEmpty, iri);
        }
        HookedProvider::doRemoveFolder(iri);
    }

private:
    mutable std::map<std::u16string, bool> used_;
};

/// Removes all files with the removed file's name as a prefix.
class RemovesByPrefix final : public BrokenProvider {
public:
    void doRemoveFile(const StorageIRI& iri) const override {
        HookedProvider::doRemoveFile(iri);
        for (const std::u16string& name : doListFilesNamesOnly(parentOf(iri))) {
            if (name.starts_with(nameOf(iri))) {
                HookedProvider::doRemoveFile(childOf(parentOf(iri), name));
            }
        }
    }
};

/// Loses every hundredth file.
class LosesAFile final : public BrokenProvider {
public:
    void doCreateFile(const StorageIRI& iri) const override {
        HookedProvider::doCreateFile(iri);
        if (++created_ % 100 == 0) {
            HookedProvider::doRemoveFile(iri);
        }
    }

private:
    mutable int created_ = 0;
};

/// Ignores the creation of the root.
class RootMadeAgain final : public BrokenProvider {
public:
    void doCreateFolder(const StorageIRI& iri) const override {
        if (iri.hasParent()) {
            HookedProvider::doCreateFolder(iri);
        }
    }
};

/// Writes a mark into new files.
class NewFileHasBytes final : public BrokenProvider {
public:
    void doCreateFile(const StorageIRI& iri) const override {
        HookedProvider::doCreateFile(iri);
        doOpenStream(iri, {})->write("mark", 4);
    }
};

/// Creates a metadata file in new folders.
class NewFolderHoldsFile final : public BrokenProvider {
public:
    void doCreateFolder(const StorageIRI& iri) const override {
        HookedProvider::doCreateFolder(iri);
        doCreateFile(childOf(iri, u".about"));
    }
};

class ParentOfRemovedFolderNamed final : public BrokenProvider {
public:
    void doRemoveFolder(const StorageIRI& iri) const override {
        if (iri.hasParent() && !doFolderExists(parentOf(iri))) {
            throw Exception(ErrorCode::NotFound, parentOf(iri));
        }
        HookedProvider::doRemoveFolder(iri);
    }
};

/// Identifies files by their names, without their folders.
class NamesakesRemoved final : public BrokenProvider {
public:
    void doRemoveFile(const StorageIRI& iri) const override {
        HookedProvider::doRemoveFile(iri);
        removeAll(StorageIRI(u"/"), nameOf(iri));
    }

private:
    void removeAll(const StorageIRI& folder, const std::u16string& name) const {
        for (const std::u16string& path : doListAllRecursiveNamesOnly(folder)) {
            const StorageIRI found(u"/" + path);
            if (nameOf(found) == name && doFileExists(found)) {
                HookedProvider::doRemoveFile(found);
            }
        }
    }
};

/// Refuses to create a folder with the name of a removed file.
class NameKeptForFiles final : public BrokenProvider {
public:
    void doRemoveFile(const StorageIRI& iri) const override {
        HookedProvider::doRemoveFile(iri);
        removed_[iri.getPath()] = true;
    }

    void doCreateFolder(const StorageIRI& iri) const override {
        if (removed_.contains(iri.getPath())) {
            throw Exception(ErrorCode::AlreadyExists, iri);
        }
        HookedProvider::doCreateFolder(iri);
    }

private:
    mutable std::map<std::u16string, bool> removed_;
};

class RootMadeAsFile final : public BrokenProvider {
public:
    void doCreateFile(const StorageIRI& iri) const override {
        if (!iri.hasParent()) {
            throw Exception(ErrorCode::AlreadyExists, iri);
        }
        HookedProvider::doCreateFile(iri);
    }
};

/// Ignores the removal of an empty root.
class EmptyRootRemoved final : public BrokenProvider {
public:
    void doRemoveFolder(const StorageIRI& iri) const override {
        if (iri.hasParent() || doListAll(iri)->hasNext()) {
            HookedProvider::doRemoveFolder(iri);
        }
    }
};

class RootIsProtected final : public BrokenProvider {
public:
    void doRemoveFile(const StorageIRI& iri) const override {
        if (!iri.hasParent()) {
            throw Exception(ErrorCode::ReadOnly, iri);
        }
        HookedProvider::doRemoveFile(iri);
    }
};

/// Limits the length of paths like a disk.
class LimitsPathLength final : public BrokenProvider {
public:
    void doCreateFolder(const StorageIRI& iri) const override {
        if (iri.getPath().size() > 1024) {
            throw Exception(ErrorCode::NotFound, iri);
        }
        HookedProvider::doCreateFolder(iri);
    }
};

/// Removes a folder that holds only a file with a leading dot.
class HiddenFilesDoNotCount final : public BrokenProvider {
public:
    void doRemoveFolder(const StorageIRI& iri) const override {
        const bool exists = doFolderExists(iri);
        const auto names = exists ? doListFilesNamesOnly(iri) : std::vector<std::u16string>();
        if (names.size() == 1 && names.front().front() == u'.') {
            HookedProvider::doRemoveFile(childOf(iri, names.front()));
        }
        HookedProvider::doRemoveFolder(iri);
    }
};

constexpr std::array table{
    Fault{"NewFileHasBytes", "2.1", build<NewFileHasBytes>},
    Fault{"CreatingTwice", "2.2", build<CreatingTwice>},
    Fault{"FileReplacesFolder", "2.3", build<FileReplacesFolder>},
    Fault{"ExistsAsNotFound", "2.4", build<ExistsAsNotFound>},
    Fault{"FolderMadeAgain", "2.5", build<FolderMadeAgain>},
    Fault{"MissingFoldersMade", "2.6", build<MissingFoldersMade>},
    Fault{"ParentNamed", "2.7", build<ParentNamed>},
    Fault{"FileAboveFile", "2.8", build<FileAboveFile>},
    Fault{"FileAboveFolder", "2.9", build<FileAboveFolder>},
    Fault{"NewFolderHoldsFile", "2.10", build<NewFolderHoldsFile>},
    Fault{"OldBytesBack", "2.11", build<OldBytesBack>},
    Fault{"RemovedFolderStaysTaken", "2.12", build<RemovedFolderStaysTaken>},
    Fault{"MissingFileRemoved", "2.13", build<MissingFileRemoved>},
    Fault{"MissingFolderIsNotEmpty", "2.14", build<MissingFolderIsNotEmpty>},
    Fault{"ParentOfRemovedNamed", "2.15", build<ParentOfRemovedNamed>},
    Fault{"ParentOfRemovedFolderNamed", "2.16", build<ParentOfRemovedFolderNamed>},
    Fault{"RemoveFileTakesFolders", "2.17", build<RemoveFileTakesFolders>},
    Fault{"RemoveFolderTakesFiles", "2.18", build<RemoveFolderTakesFiles>},
    Fault{"RemovesFoldersWithFiles", "2.19", build<RemovesFoldersWithFiles>},
    Fault{"HiddenFilesDoNotCount", "2.19", build<HiddenFilesDoNotCount>},
    Fault{"NotEmptyAsExists", "2.20", build<NotEmptyAsExists>},
    Fault{"NeverEmptyAgain", "2.21", build<NeverEmptyAgain>},
    Fault{"RemovesByPrefix", "2.22", build<RemovesByPrefix>},
    Fault{"NamesakesRemoved", "2.23", build<NamesakesRemoved>},
    Fault{"LosesAFile", "2.24", build<LosesAFile>},
    Fault{"NameKeptForFiles", "2.25", build<NameKeptForFiles>},
    Fault{"RootMadeAgain", "2.26", build<RootMadeAgain>},
    Fault{"RootMadeAsFile", "2.27", build<RootMadeAsFile>},
    Fault{"EmptyRootRemoved", "2.28", build<EmptyRootRemoved>},
    Fault{"RootIsProtected", "2.29", build<RootIsProtected>},
    Fault{"LimitsPathLength", "2.30", build<LimitsPathLength>},
};

} // namespace
} // namespace creating_and_removing_faults

std::span<const Fault> creatingAndRemoving() {
    return creating_and_removing_faults::table;
}

} // namespace faults
