#include "tests/host/mount/MountedStorageTest.h"

#include "host/support/Utf.h"

using foundation::storage::provider::StorageIRI;

EntrySnapshot MountedStorageTest::stored(const std::string& path) const {
    return takeSnapshot(*memory_).at(storage::host::toUtf16(path));
}

std::uint64_t MountedStorageTest::storedSize(const std::string& path) const {
    return memory_->doGetFileAttributes(StorageIRI(storage::host::toUtf16(path))).getSize();
}

void MountedStorageTest::expectStorageAsSeen() {
    mount_.storage().settle();
    const TreeSnapshot stored = takeSnapshot(*memory_);
    EXPECT_EQ(stored, seenInStorage(mount_, stored));
}

TreeSnapshot MountedStorageTest::seenInStorage(MountedTree& mount, const TreeSnapshot& stored) {
    TreeSnapshot seen = mount.snapshot();
    std::map<const Inode*, int> storedNames;
    std::erase_if(seen, [&](const auto& entry) {
        const bool isStored = stored.contains(entry.first);
        storedNames[&mount.at(storage::host::toUtf8(entry.first).value())] += isStored ? 1 : 0;
        return !isStored;
    });
    for (const auto& [inode, count] : storedNames) {
        EXPECT_EQ(count, 1) << "entry number " << inode->number;
    }
    return seen;
}

bool operator==(const timespec& left, const timespec& right) {
    return left.tv_sec == right.tv_sec && left.tv_nsec == right.tv_nsec;
}
