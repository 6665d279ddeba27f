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

/// Reports every existing entry as a folder.
class FileCountsAsFolder final : public BrokenProvider {
public:
    bool doFolderExists(const StorageIRI& iri) const override {
        return HookedProvider::doFolderExists(iri) || doFileExists(iri);
    }
};

/// Reports every existing entry as a file.
class FolderCountsAsFile final : public BrokenProvider {
public:
    bool doFileExists(const StorageIRI& iri) const override {
        return HookedProvider::doFileExists(iri) || doFolderExists(iri);
    }
};

/// Throws if the parent folder is missing.
class ExistsThrows final : public BrokenProvider {
public:
    bool doFileExists(const StorageIRI& iri) const override {
        if (iri.hasParent() && !doFolderExists(parentOf(iri))) {
            throw Exception(ErrorCode::NotFound, iri);
        }
        return HookedProvider::doFileExists(iri);
    }
};

/// Reports the root as missing.
class RootMissing final : public BrokenProvider {
public:
    bool doFolderExists(const StorageIRI& iri) const override {
        return iri.hasParent() && HookedProvider::doFolderExists(iri);
    }
};

/// Caches the first reported attributes, including the size.
class SizeRemembered final : public BrokenProvider {
public:
    FileAttributes doGetFileAttributes(const StorageIRI& iri) const override {
        return reported_.try_emplace(iri.getPath(), HookedProvider::doGetFileAttributes(iri)).first->second;
    }

private:
    mutable std::map<std::u16string, FileAttributes> reported_;
};

/// Updates the size only when a stream is flushed.
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

    // With hooks, which this fault requires. No check lets a stream outlive this provider.
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        return HookedProvider::doOpenStream(iri, options);
    }

    FileAttributes doGetFileAttributes(const StorageIRI& iri) const override {
        const FileAttributes attributes = HookedProvider::doGetFileAttributes(iri);
        return {written_.contains(iri.getPath()) ? 0 : attributes.getSize(), attributes.getLastModified(),
                attributes.isWritable()};
    }

private:
    std::map<std::u16string, bool> written_;
};

/// Returns the attributes of the first queried file for all files of a folder.
class AttributesOfNeighbour final : public BrokenProvider {
public:
    FileAttributes doGetFileAttributes(const StorageIRI& iri) const override {
        return reported_.try_emplace(parentOf(iri).getPath(), HookedProvider::doGetFileAttributes(iri))
            .first->second;
    }

private:
    mutable std::map<std::u16string, FileAttributes> reported_;
};

/// Returns default attributes for missing entries.
class MissingFileHasAttributes final : public BrokenProvider {
public:
    FileAttributes doGetFileAttributes(const StorageIRI& iri) const override {
        if (!doExists(iri)) {
            return {0, {}, false};
        }
        return HookedProvider::doGetFileAttributes(iri);
    }
};

/// Names the parent folder in the exception.
class MissingFolderNamesParent final : public BrokenProvider {
public:
    FolderAttributes doGetFolderAttributes(const StorageIRI& iri) const override {
        if (iri.hasParent() && !doExists(iri)) {
            throw Exception(ErrorCode::NotFound, parentOf(iri));
        }
        return HookedProvider::doGetFolderAttributes(iri);
    }
};

/// Returns the attributes of a folder as file attributes with size 0.
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

/// Throws AlreadyExists for a file.
class FileAsFolderExists final : public BrokenProvider {
public:
    FolderAttributes doGetFolderAttributes(const StorageIRI& iri) const override {
        if (doFileExists(iri)) {
            throw Exception(ErrorCode::AlreadyExists, iri);
        }
        return HookedProvider::doGetFolderAttributes(iri);
    }
};

/// Returns the attributes of the parent file.
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

/// Throws AlreadyExists for the root.
class RootAsFileExists final : public BrokenProvider {
public:
    FileAttributes doGetFileAttributes(const StorageIRI& iri) const override {
        if (!iri.hasParent()) {
            throw Exception(ErrorCode::AlreadyExists, iri);
        }
        return HookedProvider::doGetFileAttributes(iri);
    }
};

/// Always returns the attributes that the root had at first.
class RootKeepsItsTime final : public BrokenProvider {
public:
    RootKeepsItsTime() : made_(sound().doGetFolderAttributes(StorageIRI(u"/"))) {}

    FolderAttributes doGetFolderAttributes(const StorageIRI& iri) const override {
        return iri.hasParent() ? HookedProvider::doGetFolderAttributes(iri) : made_;
    }

private:
    FolderAttributes made_;
};

/// Creates read-only files.
class NewFileIsReadOnly final : public BrokenProvider {
public:
    void doCreateFile(const StorageIRI& iri) const override {
        HookedProvider::doCreateFile(iri);
        doSetWritable(iri, false);
    }
};

/// Reports all folders as read-only.
class FoldersAreReadOnly final : public BrokenProvider {
public:
    FolderAttributes doGetFolderAttributes(const StorageIRI& iri) const override {
        return {HookedProvider::doGetFolderAttributes(iri).getLastModified(), false};
    }
};

/// Stamps a file that is opened for reading.
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
