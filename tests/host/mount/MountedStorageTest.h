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

    static constexpr timespec longAgo{981'173'106, 123'456'000};

    /// What the storage itself holds.
    EntrySnapshot stored(const std::string& path) const;

    /// How many bytes the storage holds for the file.
    std::uint64_t storedSize(const std::string& path) const;

    /// Expects the storage to hold just what programs see of files and folders, under one name each.
    void expectStorageAsSeen();

    /// What programs see under the names that the storage has. Expects each file and folder to have one of them.
    static TreeSnapshot seenInStorage(MountedTree& mount, const TreeSnapshot& stored);

    std::shared_ptr<foundation::storage::provider::IProvider> memory_ = sharedProvider(TEST_PLUGIN);
    HookedProvider provider_{memory_};
    MountedTree mount_{provider_};
};

bool operator==(const timespec& left, const timespec& right);
