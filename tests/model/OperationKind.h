#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace storage::inmemoryprovider::tests {

/// The operations that a plug-in must implement: those of a provider, its streams and its listings.
enum class OperationKind : std::uint8_t {
    CreateFile,
    CreateFolder,
    RemoveFile,
    RemoveFolder,
    FileExists,
    FolderExists,
    GetFileAttributes,
    GetFolderAttributes,
    SetLastModified,
    SetWritable,
    OpenStream,
    OpenReadOnlyStream,
    ListAll,
    ListFiles,
    ListFolders,
    MoveFile,
    MoveFolder,
    HasFeature,
    StreamRead,
    StreamWrite,
    StreamSeek,
    StreamFlush,
    StreamClose,
    ListingStep,
    ListingClone,
    ListingClose,
};

inline constexpr std::size_t operationKindCount = static_cast<std::size_t>(OperationKind::ListingClose) + 1;

inline constexpr std::array<const char*, operationKindCount> operationNames = {
    "doCreateFile",      "doCreateFolder", "doRemoveFile",        "doRemoveFolder",
    "doFileExists",      "doFolderExists", "doGetFileAttributes", "doGetFolderAttributes",
    "doSetLastModified", "doSetWritable",  "doOpenStream",        "doOpenReadOnlyStream",
    "doListAll",         "doListFiles",    "doListFolders",       "doMoveFile",
    "doMoveFolder",      "doHasFeature",   "stream read",         "stream write",
    "stream seek",       "stream flush",   "stream close",        "listing step",
    "listing clone",     "listing close",
};

constexpr const char* nameOf(OperationKind kind) {
    return operationNames[static_cast<std::size_t>(kind)];
}

} // namespace storage::inmemoryprovider::tests
