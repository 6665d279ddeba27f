#include "tests/host/validate/faults/BrokenMoves.h"
#include "tests/host/validate/faults/FaultCatalogue.h"

#include <array>
#include <set>

namespace faults {

using namespace foundation::storage::provider;

namespace moving_file_faults {
namespace {

using Policy = ReplacementPolicy;

/// The source is not removed.
void leavingTheSource(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    sound.doCopyFile(from, to, policy);
}

/// A file whose name begins like the source's goes too.
void takingSiblings(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    sound.doMoveFile(from, to, policy);
    const StorageIRI sibling(from.getPath() + u"0");
    if (sound.doFileExists(sibling)) {
        sound.doRemoveFile(sibling);
    }
}

/// The name of a file that was moved cannot be used again.
class OldNameInUse final : public BrokenProvider {
public:
    void doMoveFile(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const override {
        sound().doMoveFile(from, to, policy);
        used_.insert(from.getPath());
    }
    void doCreateFile(const StorageIRI& iri) const override {
        if (used_.contains(iri.getPath())) {
            throw Exception(ErrorCode::AlreadyExists, iri);
        }
        sound().doCreateFile(iri);
    }

private:
    mutable std::set<std::u16string> used_;
};

/// What is missing is said to be missing where it was to go.
void namingDestinationWhenMissing(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                                  Policy policy) {
    naming(ErrorCode::NotFound, sound.doFileExists(from) ? from : to,
           [&] { sound.doMoveFile(from, to, policy); });
}

/// The destination is cleared before the source is looked for.
void clearingFirst(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    if (policy == Policy::ReplaceExisting && sound.doFileExists(to) && from != to) {
        sound.doRemoveFile(to);
    }
    sound.doMoveFile(from, to, policy);
}

/// A missing folder is named itself.
void namingDestinationFolder(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                             Policy policy) {
    const bool missing = !sound.doFolderExists(folderOf(to));
    naming(ErrorCode::NotFound, missing ? folderOf(to) : from, [&] { sound.doMoveFile(from, to, policy); });
}

/// What is at the source is moved, whatever it is.
void movingFoldersToo(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    sound.doFolderExists(from) ? sound.doMoveFolder(from, to, policy) : sound.doMoveFile(from, to, policy);
}

/// The policy is not looked at.
void ignoringPolicy(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy /*policy*/) {
    sound.doMoveFile(from, to, Policy::ReplaceExisting);
}

/// A file is replaced by writing over it, and keeps what is longer.
void replacingWithoutEmptying(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                              Policy policy) {
    if (policy != Policy::ReplaceExisting || !sound.doFileExists(to)) {
        return sound.doMoveFile(from, to, policy);
    }
    std::array<char, 256> block{};
    const long count = sound.doOpenReadOnlyStream(from)->read(block.data(), 256);
    sound.doOpenStream(to, {})->write(block.data(), count);
    sound.doRemoveFile(from);
}

/// Only the policies with a name are known.
void refusingUnnamedPolicies(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                             Policy policy) {
    sound.doMoveFile(from, to, policy == Policy::ReplaceExisting ? policy : Policy::RefuseExisting);
}

/// A file that is moved onto a folder goes into it.
void movingIntoFolder(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    const std::u16string name = from.getPath().substr(from.getPath().rfind(u'/') + 1);
    sound.doMoveFile(from, sound.doFolderExists(to) ? below(to, name) : to, policy);
}

/// The flag of the source's folder is not looked at.
void ignoringSourceFolder(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                          Policy policy) {
    ignoringFlag(sound, folderOf(from), [&] { sound.doMoveFile(from, to, policy); });
}

/// A read-only destination is named itself.
void namingReadOnlyDestination(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                               Policy policy) {
    naming(ErrorCode::ReadOnly, isReadOnly(sound, folderOf(to)) && !sound.doFileExists(to) ? to : from,
           [&] { sound.doMoveFile(from, to, policy); });
}

/// The flag of a file that is replaced is not looked at.
void ignoringReplacedFlag(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                          Policy policy) {
    if (isReadOnly(sound, to)) {
        sound.doSetWritable(to, true);
    }
    sound.doMoveFile(from, to, policy);
}

/// A read-only folder keeps nothing from replacing its files.
void replacingInReadOnlyFolder(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                               Policy policy) {
    if (!sound.doFileExists(to)) {
        return sound.doMoveFile(from, to, policy);
    }
    ignoringFlag(sound, folderOf(to), [&] { sound.doMoveFile(from, to, policy); });
}

/// Flags are looked at before anything else.
void flagsFirst(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    if (isReadOnly(sound, folderOf(from)) || isReadOnly(sound, folderOf(to))) {
        throw Exception(ErrorCode::ReadOnly, from);
    }
    sound.doMoveFile(from, to, policy);
}

/// A moved file is a new one, and writable.
void forgettingTheFlag(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    sound.doMoveFile(from, to, policy);
    sound.doSetWritable(to, true);
}

/// A moved file keeps its time.
void keepingTheTime(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    const auto time = sound.doGetFileAttributes(from).getLastModified();
    sound.doMoveFile(from, to, policy);
    sound.doSetLastModified(to, time);
}

/// A move that fails for a flag leaves an empty file.
void emptyingTheSource(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    try {
        sound.doMoveFile(from, to, policy);
    } catch (const Exception&) {
        sound.doOpenStream(from, {.content = ByteStreamContent::Empty});
        throw;
    }
}

/// All flags are looked at before the replaced file goes.
void sparingTheReplaced(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    if (sound.doFileExists(from) && sound.doFileExists(to) && isReadOnly(sound, folderOf(from))) {
        throw Exception(ErrorCode::ReadOnly, from);
    }
    sound.doMoveFile(from, to, policy);
}

/// Moving a file onto itself is nothing to do.
void ontoItselfSucceeds(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    if (from != to) {
        sound.doMoveFile(from, to, policy);
    }
}

/// Replacing a file by itself is refused.
void ontoItselfExists(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    sound.doMoveFile(from, to, from == to ? Policy::RefuseExisting : policy);
}

/// A file that is to be replaced by itself goes, whatever its flag.
void ontoItselfRemoves(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    if (from == to && isReadOnly(sound, to)) {
        sound.doSetWritable(to, true);
        sound.doRemoveFile(to);
        throw Exception(ErrorCode::ReadOnly, from);
    }
    sound.doMoveFile(from, to, policy);
}

/// The root is a folder, and as such in the way.
void rootInTheWay(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    if (!to.hasParent()) {
        throw Exception(ErrorCode::AlreadyExists, to);
    }
    sound.doMoveFile(from, to, policy);
}

constexpr std::array table{
    Fault{"FileStaysBehind", "10.1", build<MovingFiles<leavingTheSource>>},
    Fault{"FileTakesSiblings", "10.2", build<MovingFiles<takingSiblings>>},
    Fault{"OldNameInUse", "10.3", build<OldNameInUse>},
    Fault{"MissingFileNamesDestination", "10.4", build<MovingFiles<namingDestinationWhenMissing>>},
    Fault{"MissingFileClearsDestination", "10.5", build<MovingFiles<clearingFirst>>},
    Fault{"MissingFolderIsNamed", "10.6", build<MovingFiles<namingDestinationFolder>>},
    Fault{"FolderMovesAsFile", "10.7", build<MovingFiles<movingFoldersToo>>},
    Fault{"FilePolicyIgnored", "10.8", build<MovingFiles<ignoringPolicy>>},
    Fault{"ReplacedFileKeepsItsTail", "10.9", build<MovingFiles<replacingWithoutEmptying>>},
    Fault{"UnnamedFilePolicyRefuses", "10.10", build<MovingFiles<refusingUnnamedPolicies>>},
    Fault{"FileMovesIntoFolder", "10.11", build<MovingFiles<movingIntoFolder>>},
    Fault{"SourceFolderFlagIgnored", "10.12", build<MovingFiles<ignoringSourceFolder>>},
    Fault{"ReadOnlyDestinationIsNamed", "10.13", build<MovingFiles<namingReadOnlyDestination>>},
    Fault{"ReplacedFlagIgnored", "10.14", build<MovingFiles<ignoringReplacedFlag>>},
    Fault{"ReplacedInReadOnlyFolder", "10.15", build<MovingFiles<replacingInReadOnlyFolder>>},
    Fault{"FileFlagsFirst", "10.16", build<MovingFiles<flagsFirst>>},
    Fault{"MovedFileLosesItsFlag", "10.17", build<MovingFiles<forgettingTheFlag>>},
    Fault{"MovedFileKeepsItsTime", "10.18", build<MovingFiles<keepingTheTime>>},
    Fault{"FailedMoveEmptiesSource", "10.19", build<MovingFiles<emptyingTheSource>>},
    Fault{"ReplacedFileIsSpared", "10.20", build<MovingFiles<sparingTheReplaced>>},
    Fault{"FileOntoItselfSucceeds", "10.21", build<MovingFiles<ontoItselfSucceeds>>},
    Fault{"FileOntoItselfExists", "10.22", build<MovingFiles<ontoItselfExists>>},
    Fault{"FileOntoItselfRemoves", "10.23", build<MovingFiles<ontoItselfRemoves>>},
    Fault{"RootInTheWayOfFile", "10.24", build<MovingFiles<rootInTheWay>>},
};

} // namespace
} // namespace moving_file_faults

std::span<const Fault> movingFiles() {
    return moving_file_faults::table;
}

} // namespace faults
