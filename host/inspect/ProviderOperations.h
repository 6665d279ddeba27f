#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <array>

namespace storage::host {

/// The operations of a provider, in the order in which the binary interface has them.
inline constexpr std::array providerOperations{
    "doCreateFile",
    "doCreateFolder",
    "doCreateFolderRecursive",
    "doFileExists",
    "doFolderExists",
    "doRemoveFile",
    "doMoveFile",
    "doRemoveFolder",
    "doRemoveFolderRecursively",
    "doMoveFolder",
    "doGetFileAttributes",
    "doGetFolderAttributes",
    "doOpenStream",
    "doOpenReadOnlyStream",
    "doOpenTransactionalStream",
    "doOpenTransactionalStreamAtScratchLocation",
    "doListAll",
    "doListAllWildcards",
    "doListFiles",
    "doListFilesWildcards",
    "doListFolders",
    "doListFoldersWildcards",
    "doListAllNamesOnly",
    "doListAllNamesOnlyWildcards",
    "doListFoldersNamesOnly",
    "doListFoldersNamesOnlyWildcards",
    "doListFilesNamesOnly",
    "doListFilesNamesOnlyWildcards",
    "doListAllRecursive",
    "doListAllRecursiveWildcards",
    "doListAllRecursiveNamesOnly",
    "doListAllRecursiveNamesOnlyWildcards",
    "doCopyFile",
    "doCopyFileAtomic",
    "doSetLastModified",
    "doSetWritable",
    "doPublishFolderEventsFor",
    "doPublishFileEventsFor",
    "doStopPublishingEventsFor",
    "doStartChangePollingMechanism",
    "doStopChangePollingMechanism",
    "doHasFeature",
    "doGetPathComparator",
    "doGetCanonicalLocation",
    "doGetFilenameSensitivity",
    "doShutdown",
    "doExists",
    "doExistsExtended",
    "doGetExtendedAttributes",
    "doGetProviderStorageInfo",
    "doTruncateToSize",
};

/// For each operation whether the provider has one of its own; otherwise it works by the host's.
/// @param provider  as the plug-in made it, not one that stands in front of it
std::array<bool, providerOperations.size()>
ownOperations(const foundation::storage::provider::IProvider& provider);

} // namespace storage::host
