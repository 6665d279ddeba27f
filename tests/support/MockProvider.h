#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

/// A provider with a mock for every operation.
class MockProvider : public foundation::storage::provider::IProvider {
public:
    using ByteStream = foundation::storage::provider::ByteStream;
    using ByteStreamOpenOptions = foundation::storage::provider::ByteStreamOpenOptions;
    using EntryExistence = foundation::storage::provider::EntryExistence;
    using ExtendedAttributes = foundation::storage::provider::ExtendedAttributes;
    using ExtendedFeature = foundation::storage::provider::ExtendedFeature;
    using FileAttributes = foundation::storage::provider::FileAttributes;
    using FilenameSensitivity = foundation::storage::provider::FilenameSensitivity;
    using FolderAttributes = foundation::storage::provider::FolderAttributes;
    using IFolderEntryIterator = foundation::storage::provider::IFolderEntryIterator;
    using ProviderStorageInfo = foundation::storage::provider::ProviderStorageInfo;
    using ReplacementPolicy = foundation::storage::provider::ReplacementPolicy;
    using StorageIRI = foundation::storage::provider::StorageIRI;

    MOCK_METHOD(void, doCreateFile, (const StorageIRI&), (const, override));
    MOCK_METHOD(void, doCreateFolder, (const StorageIRI&), (const, override));
    MOCK_METHOD(void, doCreateFolderRecursive, (const StorageIRI&), (const, override));
    MOCK_METHOD(bool, doFileExists, (const StorageIRI&), (const, override));
    MOCK_METHOD(bool, doFolderExists, (const StorageIRI&), (const, override));
    MOCK_METHOD(void, doRemoveFile, (const StorageIRI&), (const, override));
    MOCK_METHOD(void, doMoveFile, (const StorageIRI&, const StorageIRI&, const ReplacementPolicy&),
                (const, override));
    MOCK_METHOD(void, doRemoveFolder, (const StorageIRI&), (const, override));
    MOCK_METHOD(void, doRemoveFolderRecursively, (const StorageIRI&), (const, override));
    MOCK_METHOD(void, doMoveFolder, (const StorageIRI&, const StorageIRI&, const ReplacementPolicy&),
                (const, override));
    MOCK_METHOD(FileAttributes, doGetFileAttributes, (const StorageIRI&), (const, override));
    MOCK_METHOD(FolderAttributes, doGetFolderAttributes, (const StorageIRI&), (const, override));
    MOCK_METHOD(std::unique_ptr<ByteStream>, doOpenStream, (const StorageIRI&, const ByteStreamOpenOptions&),
                (const, override));
    MOCK_METHOD(std::unique_ptr<ByteStream>, doOpenReadOnlyStream, (const StorageIRI&), (const, override));
    MOCK_METHOD(std::unique_ptr<ByteStream>, doOpenTransactionalStream,
                (const StorageIRI&, const ByteStreamOpenOptions&), (const, override));
    MOCK_METHOD(std::unique_ptr<ByteStream>, doOpenTransactionalStreamAtScratchLocation,
                (const StorageIRI&, const StorageIRI&, const ByteStreamOpenOptions&), (const, override));
    MOCK_METHOD(std::unique_ptr<IFolderEntryIterator>, doListAll, (const StorageIRI&), (const, override));
    MOCK_METHOD(std::unique_ptr<IFolderEntryIterator>, doListAllWildcards,
                (const StorageIRI&, std::u16string), (const, override));
    MOCK_METHOD(std::unique_ptr<IFolderEntryIterator>, doListFiles, (const StorageIRI&), (const, override));
    MOCK_METHOD(std::unique_ptr<IFolderEntryIterator>, doListFilesWildcards,
                (const StorageIRI&, std::u16string), (const, override));
    MOCK_METHOD(std::unique_ptr<IFolderEntryIterator>, doListFolders, (const StorageIRI&), (const, override));
    MOCK_METHOD(std::unique_ptr<IFolderEntryIterator>, doListFoldersWildcards,
                (const StorageIRI&, std::u16string), (const, override));
    MOCK_METHOD(std::vector<std::u16string>, doListAllNamesOnly, (const StorageIRI&), (const, override));
    MOCK_METHOD(std::vector<std::u16string>, doListAllNamesOnlyWildcards, (const StorageIRI&, std::u16string),
                (const, override));
    MOCK_METHOD(std::vector<std::u16string>, doListFoldersNamesOnly, (const StorageIRI&), (const, override));
    MOCK_METHOD(std::vector<std::u16string>, doListFoldersNamesOnlyWildcards,
                (const StorageIRI&, std::u16string), (const, override));
    MOCK_METHOD(std::vector<std::u16string>, doListFilesNamesOnly, (const StorageIRI&), (const, override));
    MOCK_METHOD(std::vector<std::u16string>, doListFilesNamesOnlyWildcards,
                (const StorageIRI&, std::u16string), (const, override));
    MOCK_METHOD(std::unique_ptr<IFolderEntryIterator>, doListAllRecursive, (const StorageIRI&),
                (const, override));
    MOCK_METHOD(std::unique_ptr<IFolderEntryIterator>, doListAllRecursiveWildcards,
                (const StorageIRI&, std::u16string), (const, override));
    MOCK_METHOD(std::vector<std::u16string>, doListAllRecursiveNamesOnly, (const StorageIRI&),
                (const, override));
    MOCK_METHOD(std::vector<std::u16string>, doListAllRecursiveNamesOnlyWildcards,
                (const StorageIRI&, std::u16string), (const, override));
    MOCK_METHOD(void, doCopyFile, (const StorageIRI&, const StorageIRI&, const ReplacementPolicy&),
                (const, override));
    MOCK_METHOD(void, doCopyFileAtomic,
                (const StorageIRI&, const StorageIRI&, const ReplacementPolicy&, CopyProgress),
                (const, override));
    MOCK_METHOD(void, doSetLastModified, (const StorageIRI&, const boost::posix_time::ptime&),
                (const, override));
    MOCK_METHOD(void, doSetWritable, (const StorageIRI&, bool), (const, override));
    MOCK_METHOD(void, doPublishFolderEventsFor, (const StorageIRI&, EventCallback), (const, override));
    MOCK_METHOD(void, doPublishFileEventsFor, (const StorageIRI&, EventCallback), (const, override));
    MOCK_METHOD(void, doStopPublishingEventsFor, (const StorageIRI&), (const, override));
    MOCK_METHOD(void, doStartChangePollingMechanism, (const StorageIRI&, EventCallback), (const, override));
    MOCK_METHOD(void, doStopChangePollingMechanism, (const StorageIRI&), (const, override));
    MOCK_METHOD(bool, doHasFeature, (const ExtendedFeature&), (const, override));
    MOCK_METHOD(PathComparator, doGetPathComparator, (const StorageIRI&), (const, override));
    MOCK_METHOD(StorageIRI, doGetCanonicalLocation, (const StorageIRI&), (const, override));
    MOCK_METHOD(FilenameSensitivity, doGetFilenameSensitivity, (const StorageIRI&), (const, override));
    MOCK_METHOD(void, doShutdown, (), (override));
    MOCK_METHOD(bool, doExists, (const StorageIRI&), (const, override));
    MOCK_METHOD(EntryExistence, doExistsExtended, (const StorageIRI&), (const, override));
    MOCK_METHOD(ExtendedAttributes, doGetExtendedAttributes, (const StorageIRI&), (const, override));
    MOCK_METHOD(ProviderStorageInfo, doGetProviderStorageInfo, (const StorageIRI&), (const, override));
    MOCK_METHOD(void, doTruncateToSize, (const StorageIRI&, unsigned long long), (const, override));
};
