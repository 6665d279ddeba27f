#include "tests/host/validate/faults/BrokenMoves.h"
#include "tests/host/validate/faults/FaultCatalogue.h"

#include <algorithm>
#include <array>
#include <optional>

namespace faults {

using namespace foundation::storage::provider;

namespace moving_folder_faults {
namespace {

using Policy = ReplacementPolicy;

void removeIfThere(const IProvider& sound, const StorageIRI& iri) {
    if (sound.doFileExists(iri)) {
        sound.doRemoveFile(iri);
    }
}

/// Loses a file of the moved tree.
void losingAChild(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    sound.doMoveFolder(from, to, policy);
    removeIfThere(sound, below(to, u"s/t/h"));
}

/// Refuses to move a folder upward, as if the destination existed.
void refusingUpward(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    if (folderOf(from).getPath().starts_with(folderOf(to).getPath() + u"/") && !sound.doExists(to)) {
        throw Exception(ErrorCode::AlreadyExists, to);
    }
    sound.doMoveFolder(from, to, policy);
}

/// Does not find the subfolders of a moved folder at their new paths.
class StaleFolderMap final : public BrokenProvider {
public:
    void doMoveFolder(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const override {
        sound().doMoveFolder(from, to, policy);
        moved_ = to.getPath() + u"/";
    }
    void doCreateFile(const StorageIRI& iri) const override {
        if (!moved_.empty() && folderOf(iri).getPath().starts_with(moved_)) {
            throw Exception(ErrorCode::NotFound, iri);
        }
        sound().doCreateFile(iri);
    }

private:
    mutable std::u16string moved_;
};

/// Restores a subfolder when a folder is created at the old path of a moved one.
class OldTreeComesBack final : public BrokenProvider {
public:
    void doMoveFolder(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const override {
        sound().doMoveFolder(from, to, policy);
        left_ = from;
    }
    void doCreateFolder(const StorageIRI& iri) const override {
        sound().doCreateFolder(iri);
        if (left_ == iri) {
            sound().doCreateFolder(below(iri, u"e"));
        }
    }

private:
    mutable std::optional<StorageIRI> left_;
};

/// Also moves a sibling with the name of the moved folder as a prefix of its name.
void takingSiblings(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    sound.doMoveFolder(from, to, policy);
    const StorageIRI sibling(from.getPath() + u"b");
    if (sound.doFolderExists(sibling)) {
        sound.doMoveFolder(sibling, StorageIRI(to.getPath() + u"b"), policy);
    }
}

/// Loses files below about 60 levels of folders.
void losingDepth(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    sound.doMoveFolder(from, to, policy);
    for (const std::u16string& path : sound.doListAllRecursiveNamesOnly(to)) {
        if (std::count(path.begin(), path.end(), u'/') > 60) {
            removeIfThere(sound, below(to, path));
        }
    }
}

/// Loses files after the first 256 entries.
void losingWidth(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    sound.doMoveFolder(from, to, policy);
    const auto names = sound.doListAllNamesOnly(to);
    for (std::size_t i = 256; i < names.size(); ++i) {
        removeIfThere(sound, below(to, names[i]));
    }
}

/// Names the destination if the source is missing.
void namingDestinationWhenMissing(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                                  Policy policy) {
    naming(ErrorCode::NotFound, sound.doExists(from) ? from : to,
           [&] { sound.doMoveFolder(from, to, policy); });
}

/// Creates the missing folder of the destination.
void makingDestinationFolder(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                             Policy policy) {
    sound.doCreateFolderRecursive(folderOf(to));
    sound.doMoveFolder(from, to, policy);
}

/// Also moves files.
void movingFilesToo(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    sound.doFileExists(from) ? sound.doMoveFile(from, to, policy) : sound.doMoveFolder(from, to, policy);
}

/// Ignores the policy.
void ignoringPolicy(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy /*policy*/) {
    sound.doMoveFolder(from, to, Policy::ReplaceExisting);
}

/// Refuses existing folders with the policy that refuses only files.
void refusingFoldersWithFiles(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                              Policy policy) {
    sound.doMoveFolder(from, to, policy == Policy::RefuseExistingFile ? Policy::RefuseExisting : policy);
}

/// Refuses existing entries with a negative policy.
void refusingNegativePolicies(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                              Policy policy) {
    sound.doMoveFolder(from, to, static_cast<int>(policy) < 0 ? Policy::RefuseExisting : policy);
}

/// Throws FolderNotEmpty for a destination that is not empty.
void fullFolderIsNotEmpty(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                          Policy policy) {
    if (policy == Policy::ReplaceExisting && sound.doFolderExists(to) &&
        !sound.doListAllNamesOnly(to).empty()) {
        throw Exception(ErrorCode::FolderNotEmpty, to);
    }
    sound.doMoveFolder(from, to, policy);
}

/// Replaces a file by a folder.
void replacingFiles(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    if (policy == Policy::ReplaceExisting && sound.doFolderExists(from)) {
        removeIfThere(sound, to);
    }
    sound.doMoveFolder(from, to, policy);
}

/// Accepts moving a folder onto itself as a no-op.
void ontoItselfSucceeds(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    if (from != to) {
        sound.doMoveFolder(from, to, policy);
    }
}

/// Throws NotFound for a destination below the source.
void belowItselfIsMissing(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                          Policy policy) {
    if (to.getPath().starts_with(from.getPath() + u"/")) {
        throw Exception(ErrorCode::NotFound, from);
    }
    sound.doMoveFolder(from, to, policy);
}

/// Ignores the writable flag of the source's parent.
void ignoringSourceParent(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                          Policy policy) {
    ignoringFlag(sound, folderOf(from), [&] { sound.doMoveFolder(from, to, policy); });
}

/// Ignores the writable flag of the source.
void ignoringSource(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    ignoringFlag(sound, from, [&] { sound.doMoveFolder(from, to, policy); });
}

/// Names the read-only destination.
void namingReadOnlyDestination(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                               Policy policy) {
    naming(ErrorCode::ReadOnly, isReadOnly(sound, folderOf(to)) ? to : from,
           [&] { sound.doMoveFolder(from, to, policy); });
}

/// Ignores the writable flag of the replaced folder.
void ignoringReplacedFlag(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                          Policy policy) {
    ignoringFlag(sound, to, [&] { sound.doMoveFolder(from, to, policy); });
}

/// Checks the writable flags before everything else.
void flagsFirst(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    if (isReadOnly(sound, folderOf(from)) || isReadOnly(sound, from)) {
        throw Exception(ErrorCode::ReadOnly, from);
    }
    sound.doMoveFolder(from, to, policy);
}

/// Makes moved files writable.
void forgettingFlags(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    sound.doMoveFolder(from, to, policy);
    for (const std::u16string& path : sound.doListAllRecursiveNamesOnly(to)) {
        sound.doSetWritable(below(to, path), true);
    }
}

/// Does not stamp one of the files in a moved folder.
void keepingInnerTimes(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    const auto time = sound.doGetFileAttributes(below(from, u"s/g")).getLastModified();
    sound.doMoveFolder(from, to, policy);
    sound.doSetLastModified(below(to, u"s/g"), time);
}

/// Removes the new folder after a failed move, although entries have been moved there.
void removingTheBeginning(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                          Policy policy) {
    try {
        sound.doMoveFolder(from, to, policy);
    } catch (const Exception&) {
        sound.doRemoveFolderRecursively(to);
        throw;
    }
}

/// Checks all writable flags of the tree before moving anything.
void allOrNothing(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    for (const std::u16string& path : sound.doListAllRecursiveNamesOnly(from)) {
        if (isReadOnly(sound, below(from, path))) {
            throw Exception(ErrorCode::ReadOnly, from);
        }
    }
    sound.doMoveFolder(from, to, policy);
}

/// Checks all writable flags before removing the replaced folder.
void sparingTheReplaced(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    if (sound.doFolderExists(to) && (isReadOnly(sound, from) || isReadOnly(sound, folderOf(from)))) {
        throw Exception(ErrorCode::ReadOnly, from);
    }
    sound.doMoveFolder(from, to, policy);
}

/// Throws AlreadyExists if the destination is the root.
void rootInTheWay(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    if (!to.hasParent()) {
        throw Exception(ErrorCode::AlreadyExists, to);
    }
    sound.doMoveFolder(from, to, policy);
}

/// Keeps the flags of only a hundred files of a moved folder.
void keepingHundredFlags(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                         ReplacementPolicy policy) {
    sound.doMoveFolder(from, to, policy);
    int kept = 0;
    for (const std::u16string& name : sound.doListFilesNamesOnly(to)) {
        if (++kept > 100) {
            sound.doSetWritable(below(to, name), true);
        }
    }
}

/// Looks up a location by its given path instead of the resolved one.
void notResolving(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                  ReplacementPolicy policy) {
    if (to.getPath() != to.getResolvedPath()) {
        throw Exception(ErrorCode::NotFound, from);
    }
    sound.doMoveFolder(from, to, policy);
}

constexpr std::array table{
    Fault{"LostChild", "11.1", build<MovingFolders<losingAChild>>},
    Fault{"UpwardMoveRefused", "11.1", build<MovingFolders<refusingUpward>>},
    Fault{"StaleFolderMap", "11.2", build<StaleFolderMap>},
    Fault{"OldTreeComesBack", "11.3", build<OldTreeComesBack>},
    Fault{"FolderTakesSiblings", "11.4", build<MovingFolders<takingSiblings>>},
    Fault{"LostDepth", "11.5", build<MovingFolders<losingDepth>>},
    Fault{"LostWidth", "11.6", build<MovingFolders<losingWidth>>},
    Fault{"MissingFolderNamesDestination", "11.7", build<MovingFolders<namingDestinationWhenMissing>>},
    Fault{"DestinationFolderIsMade", "11.8", build<MovingFolders<makingDestinationFolder>>},
    Fault{"FileMovesAsFolder", "11.9", build<MovingFolders<movingFilesToo>>},
    Fault{"FolderPolicyIgnored", "11.10", build<MovingFolders<ignoringPolicy>>},
    Fault{"RefuseFileRefusesFolder", "11.11", build<MovingFolders<refusingFoldersWithFiles>>},
    Fault{"NegativeFolderPolicyRefuses", "11.12", build<MovingFolders<refusingNegativePolicies>>},
    Fault{"FullFolderIsNotEmpty", "11.13", build<MovingFolders<fullFolderIsNotEmpty>>},
    Fault{"FolderReplacesFile", "11.14", build<MovingFolders<replacingFiles>>},
    Fault{"FolderOntoItselfSucceeds", "11.15", build<MovingFolders<ontoItselfSucceeds>>},
    Fault{"BelowItselfIsMissing", "11.16", build<MovingFolders<belowItselfIsMissing>>},
    Fault{"SourceParentFlagIgnored", "11.17", build<MovingFolders<ignoringSourceParent>>},
    Fault{"SourceFlagIgnored", "11.18", build<MovingFolders<ignoringSource>>},
    Fault{"ReadOnlyFolderIsNamed", "11.19", build<MovingFolders<namingReadOnlyDestination>>},
    Fault{"ReplacedFolderFlagIgnored", "11.20", build<MovingFolders<ignoringReplacedFlag>>},
    Fault{"FolderFlagsFirst", "11.21", build<MovingFolders<flagsFirst>>},
    Fault{"MovedFilesLoseTheirFlags", "11.22", build<MovingFolders<forgettingFlags>>},
    Fault{"InnerTimesStay", "11.23", build<MovingFolders<keepingInnerTimes>>},
    Fault{"FailedMoveRemovesItsBeginning", "11.24", build<MovingFolders<removingTheBeginning>>},
    Fault{"FolderMoveIsAllOrNothing", "11.25", build<MovingFolders<allOrNothing>>},
    Fault{"ReplacedFolderIsSpared", "11.26", build<MovingFolders<sparingTheReplaced>>},
    Fault{"RootInTheWayOfFolder", "11.27", build<MovingFolders<rootInTheWay>>},
    Fault{"KeepingHundredFlags", "11.28", build<MovingFolders<keepingHundredFlags>>},
    Fault{"NotResolving", "11.29", build<MovingFolders<notResolving>>},
};

} // namespace
} // namespace moving_folder_faults

std::span<const Fault> movingFolders() {
    return moving_folder_faults::table;
}

} // namespace faults
