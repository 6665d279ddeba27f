#include "host/storage/FailureCause.h"

#include "host/storage/EntryRules.h"
#include "host/support/Failure.h"
#include "hostapi/storage/provider/ShortNamespace.h"

namespace storage::host {

using namespace provider;

namespace {

std::optional<std::string> causeOfNotFound(const IProvider& provider, const StoragePath& path) {
    if (existence(provider, path) != EntryExistence::Missing) {
        return std::nullopt;
    }
    if (auto reason = whyNoParentFolder(provider, path)) {
        return reason;
    }
    return "no such file or folder, or the storage does not support the name";
}

/// The kind of the entry at `path` if it is read-only.
std::optional<std::string> readOnlyKind(const IProvider& provider, const StoragePath& path) {
    switch (existence(provider, path)) {
    case EntryExistence::File:
        return provider.doGetFileAttributes(path.iri()).isWritable() ? std::nullopt : std::optional("file");
    case EntryExistence::Folder:
        return provider.doGetFolderAttributes(path.iri()).isWritable() ? std::nullopt
                                                                       : std::optional("folder");
    case EntryExistence::Missing:
        break;
    }
    return std::nullopt;
}

/// If the entry and its folder are both read-only, either may be the cause, so both are named.
std::optional<std::string> causeOfReadOnly(const IProvider& provider, const StoragePath& path) {
    const auto kind = readOnlyKind(provider, path);
    const StoragePath folder = path.parent();
    if (provider.doGetFolderAttributes(folder.iri()).isWritable()) {
        return kind ? std::optional("the " + *kind + " is read-only") : std::nullopt;
    }
    const std::string folderText = "folder " + folder.printed();
    return kind ? "the " + *kind + " and " + folderText + " are read-only" : folderText + " is read-only";
}

std::optional<std::string> findCause(const Exception& error, const IProvider& provider,
                                     const StoragePath& root) {
    const StoragePath path = StoragePath::resolve(root, error.getIRI().getPath());
    switch (error.getErrorCode()) {
    case ErrorCode::NotFound:
        return causeOfNotFound(provider, path);
    case ErrorCode::AlreadyExists:
        if (existence(provider, path) != EntryExistence::Missing) {
            return "already exists";
        }
        return std::nullopt;
    case ErrorCode::ReadOnly:
        return causeOfReadOnly(provider, path);
    case ErrorCode::FolderNotEmpty:
    case ErrorCode::NotOffered:
        break;
    }
    return std::nullopt;
}

} // namespace

std::string causeOf(const Exception& error, const IProvider& provider, const StoragePath& root) {
    try {
        if (auto cause = findCause(error, provider, root)) {
            return *std::move(cause);
        }
    } catch (...) { // a provider may throw any class
    }
    return Failure::reasonOf(error);
}

std::optional<std::string> whyNoParentFolder(const IProvider& provider, const StoragePath& path) {
    const auto obstacle = obstacleAbove(provider, path);
    if (!obstacle) {
        return std::nullopt;
    }
    const std::string above = obstacle->path.printed();
    return obstacle->kind == Obstacle::Kind::File ? above + " is not a folder"
                                                  : "folder " + above + " does not exist";
}

} // namespace storage::host
