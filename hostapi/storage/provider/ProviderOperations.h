#pragma once

#include <array>
#include <cstddef>

namespace foundation::storage::provider {

/// One operation of `IProvider`. A value.
struct ProviderOperation {
    /// Whether a provider must implement it.
    enum class Kind {
        Required, ///< every provider implements it
        Optional, ///< `IProvider` has a default
    };

    const char* name; ///< of the member function
    Kind kind;        ///< whether a provider must implement it
};

/// All operations, in the order of the vtable. Internal to this project: not installed.
inline constexpr auto providerOperations = std::to_array<ProviderOperation>({
    {"doCreateFile", ProviderOperation::Kind::Required},
    {"doCreateFolder", ProviderOperation::Kind::Required},
    {"doCreateFolderRecursive", ProviderOperation::Kind::Optional},
    {"doFileExists", ProviderOperation::Kind::Required},
    {"doFolderExists", ProviderOperation::Kind::Required},
    {"doRemoveFile", ProviderOperation::Kind::Required},
    {"doMoveFile", ProviderOperation::Kind::Required},
    {"doRemoveFolder", ProviderOperation::Kind::Required},
    {"doRemoveFolderRecursively", ProviderOperation::Kind::Optional},
    {"doMoveFolder", ProviderOperation::Kind::Required},
    {"doGetFileAttributes", ProviderOperation::Kind::Required},
    {"doGetFolderAttributes", ProviderOperation::Kind::Required},
    {"doOpenStream", ProviderOperation::Kind::Required},
    {"doOpenReadOnlyStream", ProviderOperation::Kind::Required},
    {"doOpenTransactionalStream", ProviderOperation::Kind::Optional},
    {"doOpenTransactionalStreamAtScratchLocation", ProviderOperation::Kind::Optional},
    {"doListAll", ProviderOperation::Kind::Required},
    {"doListAllWildcards", ProviderOperation::Kind::Optional},
    {"doListFiles", ProviderOperation::Kind::Required},
    {"doListFilesWildcards", ProviderOperation::Kind::Optional},
    {"doListFolders", ProviderOperation::Kind::Required},
    {"doListFoldersWildcards", ProviderOperation::Kind::Optional},
    {"doListAllNamesOnly", ProviderOperation::Kind::Optional},
    {"doListAllNamesOnlyWildcards", ProviderOperation::Kind::Optional},
    {"doListFoldersNamesOnly", ProviderOperation::Kind::Optional},
    {"doListFoldersNamesOnlyWildcards", ProviderOperation::Kind::Optional},
    {"doListFilesNamesOnly", ProviderOperation::Kind::Optional},
    {"doListFilesNamesOnlyWildcards", ProviderOperation::Kind::Optional},
    {"doListAllRecursive", ProviderOperation::Kind::Optional},
    {"doListAllRecursiveWildcards", ProviderOperation::Kind::Optional},
    {"doListAllRecursiveNamesOnly", ProviderOperation::Kind::Optional},
    {"doListAllRecursiveNamesOnlyWildcards", ProviderOperation::Kind::Optional},
    {"doCopyFile", ProviderOperation::Kind::Optional},
    {"doCopyFileAtomic", ProviderOperation::Kind::Optional},
    {"doSetLastModified", ProviderOperation::Kind::Required},
    {"doSetWritable", ProviderOperation::Kind::Required},
    {"doPublishFolderEventsFor", ProviderOperation::Kind::Optional},
    {"doPublishFileEventsFor", ProviderOperation::Kind::Optional},
    {"doStopPublishingEventsFor", ProviderOperation::Kind::Optional},
    {"doStartChangePollingMechanism", ProviderOperation::Kind::Optional},
    {"doStopChangePollingMechanism", ProviderOperation::Kind::Optional},
    {"doHasFeature", ProviderOperation::Kind::Required},
    {"doGetPathComparator", ProviderOperation::Kind::Optional},
    {"doGetCanonicalLocation", ProviderOperation::Kind::Optional},
    {"doGetFilenameSensitivity", ProviderOperation::Kind::Optional},
    {"doShutdown", ProviderOperation::Kind::Optional},
    {"doExists", ProviderOperation::Kind::Optional},
    {"doExistsExtended", ProviderOperation::Kind::Optional},
    {"doGetExtendedAttributes", ProviderOperation::Kind::Optional},
    {"doGetProviderStorageInfo", ProviderOperation::Kind::Optional},
    {"doTruncateToSize", ProviderOperation::Kind::Optional},
});

/// The vtable slot of the first operation. The slots before it are the two destructors of the Itanium C++
/// ABI.
inline constexpr std::size_t firstOperationSlot = 2;

} // namespace foundation::storage::provider
