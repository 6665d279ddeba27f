#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

namespace storage::host::checks {

/// The operations for files or for folders, so that one check can test both. A value.
struct EntryKind {
    using IProvider = provider::IProvider;
    using StorageIRI = provider::StorageIRI;
    using Time = boost::posix_time::ptime;

    const char* name; ///< for messages: "file" or "folder"
    void (IProvider::*create)(const StorageIRI&) const;
    void (IProvider::*remove)(const StorageIRI&) const;
    bool (IProvider::*exists)(const StorageIRI&) const;
    Time (*lastModified)(const IProvider&, const StorageIRI&);
    bool (*isWritable)(const IProvider&, const StorageIRI&);
};

inline constexpr EntryKind fileKind{
    "file",
    &EntryKind::IProvider::doCreateFile,
    &EntryKind::IProvider::doRemoveFile,
    &EntryKind::IProvider::doFileExists,
    [](const EntryKind::IProvider& provider, const EntryKind::StorageIRI& iri) {
        return provider.doGetFileAttributes(iri).getLastModified();
    },
    [](const EntryKind::IProvider& provider, const EntryKind::StorageIRI& iri) {
        return provider.doGetFileAttributes(iri).isWritable();
    },
};

inline constexpr EntryKind folderKind{
    "folder",
    &EntryKind::IProvider::doCreateFolder,
    &EntryKind::IProvider::doRemoveFolder,
    &EntryKind::IProvider::doFolderExists,
    [](const EntryKind::IProvider& provider, const EntryKind::StorageIRI& iri) {
        return provider.doGetFolderAttributes(iri).getLastModified();
    },
    [](const EntryKind::IProvider& provider, const EntryKind::StorageIRI& iri) {
        return provider.doGetFolderAttributes(iri).isWritable();
    },
};

} // namespace storage::host::checks
