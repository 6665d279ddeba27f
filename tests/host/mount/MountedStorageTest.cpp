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
    EXPECT_EQ(takeSnapshot(*memory_), mount_.snapshot());
}

bool operator==(const timespec& left, const timespec& right) {
    return left.tv_sec == right.tv_sec && left.tv_nsec == right.tv_nsec;
}
