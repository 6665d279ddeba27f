#include "host/mount/StorageQuota.h"
#include "host/mount/MountedStorage.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/host/mount/ErrnoOf.h"
#include "tests/support/SharedProvider.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>

namespace storage::tests {

namespace {

using host::FileInode;
using host::MountedStorage;
using host::Owner;
using host::StorageLimits;
using host::StorageUse;
using provider::StorageIRI;

class StorageQuotaTest : public testing::Test {
protected:
    static constexpr std::uint64_t kibibyte = 1U << 10U;

    void limit(const StorageLimits& limits) {
        MountedStorage::Settings settings{.limits = limits};
        settings.use = StorageUse::of(*memory_);
        storage_.emplace(*memory_, settings);
    }

    FileInode& make(const char* name) {
        return static_cast<FileInode&>(
            *storage_->makeFile(storage_->root(), name, 0644, Owner::ofProcess()).inode);
    }

    int write(FileInode& file, std::uint64_t offset, std::size_t count) {
        return errnoOf([&] { storage_->write(file, offset, std::string(count, 'x')); });
    }

    int resize(FileInode& file, std::uint64_t size) {
        host::AttributeChange change;
        change.size = size;
        return errnoOf([&] { storage_->change(file, change); });
    }

    int reserve(FileInode& file, std::uint64_t offset, std::uint64_t length) {
        return errnoOf([&] { storage_->allocate(file, 0, offset, length); });
    }

    std::uint64_t left() { return storage_->space().available; }

    std::shared_ptr<provider::IProvider> memory_ = sharedProvider(TEST_PLUGIN);
    std::optional<MountedStorage> storage_;
};

TEST_F(StorageQuotaTest, LimitsContentInBlocks) {
    limit({.bytes = 64 * kibibyte});
    EXPECT_EQ(storage_->space().capacity, 64 * kibibyte);
    FileInode& file = make("f");
    EXPECT_EQ(left(), 64 * kibibyte);
    EXPECT_EQ(write(file, 0, 1), 0);
    EXPECT_EQ(left(), 60 * kibibyte);
    EXPECT_EQ(write(file, 0, 64 * kibibyte), 0);
    EXPECT_EQ(left(), 0U);
    EXPECT_EQ(write(file, 64 * kibibyte, 1), ENOSPC);
    EXPECT_EQ(write(file, 10, 100), 0) << "overwriting takes no space";
    EXPECT_EQ(storage_->status(file).st_size, static_cast<off_t>(64 * kibibyte));
}

TEST_F(StorageQuotaTest, CountsReservedPagesButNotHoles) {
    limit({.bytes = 64 * kibibyte});
    FileInode& file = make("f");
    EXPECT_EQ(resize(file, 1000 * kibibyte), 0);
    EXPECT_EQ(left(), 64 * kibibyte);
    EXPECT_EQ(reserve(file, 0, 65 * kibibyte), ENOSPC);
    EXPECT_EQ(left(), 64 * kibibyte);
    EXPECT_EQ(reserve(file, 0, 60 * kibibyte), 0);
    EXPECT_EQ(left(), 4 * kibibyte);
    EXPECT_EQ(write(file, 100 * kibibyte, 5 * kibibyte), ENOSPC);
    EXPECT_EQ(write(file, 100 * kibibyte, 4 * kibibyte), 0);
    EXPECT_EQ(left(), 0U);
    EXPECT_EQ(write(file, 0, 60 * kibibyte), 0) << "reserved pages can be written";
    storage_->allocate(file, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, 0, 20 * kibibyte);
    EXPECT_EQ(left(), 20 * kibibyte);
}

TEST_F(StorageQuotaTest, FreesSpaceWhenFilesAreTruncatedOrRemoved) {
    limit({.bytes = 64 * kibibyte});
    FileInode& file = make("f");
    EXPECT_EQ(write(file, 0, 64 * kibibyte), 0);
    EXPECT_EQ(resize(file, 40 * kibibyte), 0);
    EXPECT_EQ(left(), 24 * kibibyte) << "also if the storage does not free it yet";
    storage_->removeFile(storage_->root(), "f");
    EXPECT_EQ(left(), 24 * kibibyte) << "a program has it open";
    storage_->release(file, 1);
    EXPECT_EQ(left(), 64 * kibibyte);
}

TEST_F(StorageQuotaTest, FreesSpaceWhenAFileIsReplaced) {
    limit({.bytes = 64 * kibibyte});
    FileInode& old = make("old");
    FileInode& fresh = make("fresh");
    EXPECT_EQ(write(old, 0, 32 * kibibyte), 0);
    EXPECT_EQ(write(fresh, 0, 16 * kibibyte), 0);
    storage_->release(old, 1);
    storage_->rename(storage_->root(), "fresh", storage_->root(), "old", {});
    EXPECT_EQ(left(), 48 * kibibyte);
}

TEST_F(StorageQuotaTest, LimitsEntries) {
    limit({.entries = 3});
    EXPECT_EQ(storage_->entries(0).total, 3U);
    EXPECT_EQ(storage_->entries(0).free, 2U) << "the root is one";
    storage_->makeFolder(storage_->root(), "a", 0755, Owner::ofProcess());
    FileInode& file = make("f");
    EXPECT_EQ(storage_->entries(0).free, 0U);
    EXPECT_EQ(errnoOf([&] { make("g"); }), ENOSPC);
    EXPECT_EQ(errnoOf([&] { storage_->makeFolder(storage_->root(), "b", 0755, Owner::ofProcess()); }),
              ENOSPC);
    EXPECT_EQ(errnoOf([&] { make("f"); }), EEXIST);
    storage_->removeFile(storage_->root(), "f");
    EXPECT_EQ(errnoOf([&] { make("g"); }), ENOSPC) << "a program has it open";
    storage_->release(file, 1);
    make("g");
}

TEST_F(StorageQuotaTest, CountsWhiteouts) {
    limit({.entries = 3});
    host::FolderInode& root = storage_->root();
    const host::RenameMode mode{RENAME_WHITEOUT, Owner::ofProcess()};
    make("f");
    storage_->rename(root, "f", root, "g", mode);
    EXPECT_EQ(storage_->entries(0).free, 0U);
    EXPECT_EQ(errnoOf([&] { storage_->rename(root, "g", root, "h", mode); }), ENOSPC);
    storage_->removeFile(root, "f");
    EXPECT_EQ(storage_->entries(0).free, 1U);
    storage_->rename(root, "g", root, "h", mode);
    EXPECT_EQ(storage_->entries(0).free, 0U);
}

TEST_F(StorageQuotaTest, CountsExistingEntries) {
    memory_->doCreateFolder(StorageIRI(u"/a"));
    memory_->doCreateFile(StorageIRI(u"/a/f"));
    const auto stream = memory_->doOpenStream(StorageIRI(u"/a/f"), {});
    const std::array<char, 5000> bytes{};
    stream->write(bytes.data(), bytes.size());
    stream->flush();
    limit({.bytes = 64 * kibibyte, .entries = 10});
    EXPECT_EQ(left(), 56 * kibibyte);
    EXPECT_EQ(storage_->entries(0).free, 7U);
    const auto folder = storage_->lookUp(storage_->root(), "a");
    storage_->removeFile(static_cast<host::FolderInode&>(*folder.inode), "f");
    EXPECT_EQ(left(), 64 * kibibyte);
    EXPECT_EQ(storage_->entries(0).free, 8U);
}

TEST_F(StorageQuotaTest, EstimatesFreeEntriesWithoutALimit) {
    limit({});
    const auto before = storage_->entries(1U << 20U);
    EXPECT_EQ(before.free, 1024U);
    EXPECT_EQ(before.total, 1025U);
    make("f");
    EXPECT_EQ(storage_->entries(1U << 20U).total, 1026U);
}

} // namespace

} // namespace storage::tests
