#include "tests/host/validate/faults/BrokenProvider.h"
#include "tests/host/validate/faults/FaultCatalogue.h"
#include "tests/host/validate/faults/LocationParts.h"

#include <array>
#include <map>
#include <string_view>

namespace faults {

using namespace foundation::storage::provider;

namespace attribute_faults {
namespace {

/// Anything that is there is a folder.
class FileCountsAsFolder final : public BrokenProvider {
public:
    bool doFolderExists(const StorageIRI& iri) const override {
        return HookedProvider::doFolderExists(iri) || doFileExists(iri);
    }
};

/// Anything that is there is a file.
class FolderCountsAsFile final : public BrokenProvider {
public:
    bool doFileExists(const StorageIRI& iri) const override {
        return HookedProvider::doFileExists(iri) || doFolderExists(iri);
    }
};

/// Whether something exists is a question about folders that do.
class ExistsThrows final : public BrokenProvider {
public:
    bool doFileExists(const StorageIRI& iri) const override {
        if (iri.hasParent() && !doFolderExists(parentOf(iri))) {
            throw Exception(ErrorCode::NotFound, iri);
        }
        return HookedProvider::doFileExists(iri);
    }
};

/// The root is nobody's entry.
class RootMissing final : public BrokenProvider {
public:
    bool doFolderExists(const StorageIRI& iri) const override {
        return iri.hasParent() && HookedProvider::doFolderExists(iri);
    }
};

/// A size once told stays.
class SizeRemembered final : public BrokenProvider {
public:
    FileAttributes doGetFileAttributes(const StorageIRI& iri) const override {
        return told_.try_emplace(iri.getPath(), HookedProvider::doGetFileAttributes(iri)).first->second;
    }

private:
    mutable std::map<std::u16string, FileAttributes> told_;
};

/// The size is brought up to date when a stream is flushed.
class SizeAfterFlush final : public BrokenProvider {
public:
    SizeAfterFlush() {
        before = [this](const char* operation, const StorageIRI& iri) {
            if (std::string_view(operation) == "write") {
                written_[iri.getPath()] = true;
            } else if (std::string_view(operation) == "flush") {
                written_.erase(iri.getPath());
            }
        };
    }

    // With hooks: a stream here never outlives its provider.
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        return HookedProvider::doOpenStream(iri, options);
    }

    FileAttributes doGetFileAttributes(const StorageIRI& iri) const override {
        const FileAttributes told = HookedProvider::doGetFileAttributes(iri);
        return {written_.contains(iri.getPath()) ? 0 : told.getSize(), told.getLastModified(),
                told.isWritable()};
    }

private:
    std::map<std::u16string, bool> written_;
};

/// All files of a folder are as the first one that was asked about.
class AttributesOfNeighbour final : public BrokenProvider {
public:
    FileAttributes doGetFileAttributes(const StorageIRI& iri) const override {
        return told_.try_emplace(parentOf(iri).getPath(), HookedProvider::doGetFileAttributes(iri))
            .first->second;
    }

private:
    mutable std::map<std::u16string, FileAttributes> told_;
};

/// What is not there has attributes that say nothing.
class MissingFileHasAttributes final : public BrokenProvider {
public:
    FileAttributes doGetFileAttributes(const StorageIRI& iri) const override {
        if (!doExists(iri)) {
            return {0, {}, false};
        }
        return HookedProvider::doGetFileAttributes(iri);
    }
};

/// The folder above is named.
class MissingFolderNamesParent final : public BrokenProvider {
public:
    FolderAttributes doGetFolderAttributes(const StorageIRI& iri) const override {
        if (iri.hasParent() && !doExists(iri)) {
            throw Exception(ErrorCode::NotFound, parentOf(iri));
        }
        return HookedProvider::doGetFolderAttributes(iri);
    }
};

/// A folder is a file of no bytes.
class FolderHasFileAttributes final : public BrokenProvider {
public:
    FileAttributes doGetFileAttributes(const StorageIRI& iri) const override {
        if (iri.hasParent() && doFolderExists(iri)) {
            const FolderAttributes folder = doGetFolderAttributes(iri);
            return {0, folder.getLastModified(), folder.isWritable()};
        }
        return HookedProvider::doGetFileAttributes(iri);
    }
};

/// A file is told to be in the way.
class FileAsFolderExists final : public BrokenProvider {
public:
    FolderAttributes doGetFolderAttributes(const StorageIRI& iri) const override {
        if (doFileExists(iri)) {
            throw Exception(ErrorCode::AlreadyExists, iri);
        }
        return HookedProvider::doGetFolderAttributes(iri);
    }
};

/// Below a file everything is as the file.
class BelowFileIsTheFile final : public BrokenProvider {
public:
    FileAttributes doGetFileAttributes(const StorageIRI& iri) const override {
        return HookedProvider::doGetFileAttributes(
            iri.hasParent() && doFileExists(parentOf(iri)) ? parentOf(iri) : iri);
    }
};

class BelowFileIsReadOnly final : public BrokenProvider {
public:
    FolderAttributes doGetFolderAttributes(const StorageIRI& iri) const override {
        if (iri.hasParent() && doFileExists(parentOf(iri))) {
            throw Exception(ErrorCode::ReadOnly, iri);
        }
        return HookedProvider::doGetFolderAttributes(iri);
    }
};

/// The root is told to be something else than a file.
class RootAsFileExists final : public BrokenProvider {
public:
    FileAttributes doGetFileAttributes(const StorageIRI& iri) const override {
        if (!iri.hasParent()) {
            throw Exception(ErrorCode::AlreadyExists, iri);
        }
        return HookedProvider::doGetFileAttributes(iri);
    }
};

/// The root keeps the time at which the storage was made.
class RootKeepsItsTime final : public BrokenProvider {
public:
    RootKeepsItsTime() : made_(sound().doGetFolderAttributes(StorageIRI(u"/"))) {}

    FolderAttributes doGetFolderAttributes(const StorageIRI& iri) const override {
        return iri.hasParent() ? HookedProvider::doGetFolderAttributes(iri) : made_;
    }

private:
    FolderAttributes made_;
};

/// A new file has to be made writable first.
class NewFileIsReadOnly final : public BrokenProvider {
public:
    void doCreateFile(const StorageIRI& iri) const override {
        HookedProvider::doCreateFile(iri);
        doSetWritable(iri, false);
    }
};

/// Folders have no flag.
class FoldersAreReadOnly final : public BrokenProvider {
public:
    FolderAttributes doGetFolderAttributes(const StorageIRI& iri) const override {
        return {HookedProvider::doGetFolderAttributes(iri).getLastModified(), false};
    }
};

/// Reading is remembered as if it were writing.
class AskingStamps final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        auto stream = HookedProvider::doOpenReadOnlyStream(iri);
        doSetLastModified(iri, boost::posix_time::microsec_clock::universal_time());
        return stream;
    }
};

constexpr std::array table{
    Fault{"FileCountsAsFolder", "3.1", build<FileCountsAsFolder>},
    Fault{"FolderCountsAsFile", "3.2", build<FolderCountsAsFile>},
    Fault{"ExistsThrows", "3.3", build<ExistsThrows>},
    Fault{"RootMissing", "3.4", build<RootMissing>},
    Fault{"SizeRemembered", "3.5", build<SizeRemembered>},
    Fault{"SizeAfterFlush", "3.6", build<SizeAfterFlush>},
    Fault{"NewFileIsReadOnly", "3.7", build<NewFileIsReadOnly>},
    Fault{"FoldersAreReadOnly", "3.8", build<FoldersAreReadOnly>},
    Fault{"AttributesOfNeighbour", "3.9", build<AttributesOfNeighbour>},
    Fault{"MissingFileHasAttributes", "3.10", build<MissingFileHasAttributes>},
    Fault{"MissingFolderNamesParent", "3.11", build<MissingFolderNamesParent>},
    Fault{"FolderHasFileAttributes", "3.12", build<FolderHasFileAttributes>},
    Fault{"FileAsFolderExists", "3.13", build<FileAsFolderExists>},
    Fault{"BelowFileIsTheFile", "3.14", build<BelowFileIsTheFile>},
    Fault{"BelowFileIsReadOnly", "3.15", build<BelowFileIsReadOnly>},
    Fault{"RootAsFileExists", "3.16", build<RootAsFileExists>},
    Fault{"RootKeepsItsTime", "3.17", build<RootKeepsItsTime>},
    Fault{"AskingStamps", "3.18", build<AskingStamps>},
};

} // namespace
} // namespace attribute_faults

std::span<const Fault> attributes() {
    return attribute_faults::table;
}

} // namespace faults
