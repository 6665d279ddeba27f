#pragma once

#include "tests/host/mount/ErrnoOf.h"
#include "tests/host/mount/MountedTree.h"
#include "tests/support/HookedProvider.h"
#include "tests/support/SharedProvider.h"

#include <gmock/gmock.h>
#include <memory>
#include <string>

/// A mounted in-memory storage.
class MountedStorageTest : public testing::Test {
protected:
    using FileInode = storage::host::FileInode;
    using FolderInode = storage::host::FolderInode;
    using Inode = storage::host::Inode;
    using MountedStorage = storage::host::MountedStorage;

    static constexpr timespec pastTime{981'173'106, 123'456'000};

    /// Returns the entry in the storage itself.
    EntrySnapshot stored(const std::string& path) const;

    /// Returns the number of bytes that the storage holds for the file.
    std::uint64_t storedSize(const std::string& path) const;

    /// Expects the storage to hold exactly the files and folders that programs see, under one name each.
    void expectStorageAsSeen();

    /// Returns the entries that programs see under the names of the storage. Expects each file and folder to
    /// have one of these names.
    static TreeSnapshot seenInStorage(MountedTree& mount, const TreeSnapshot& stored);

    std::shared_ptr<foundation::storage::provider::IProvider> memory_ = sharedProvider(TEST_PLUGIN);
    HookedProvider provider_{memory_};
    MountedTree mount_{provider_};
};

bool operator==(const timespec& left, const timespec& right);
