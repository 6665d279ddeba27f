#include "host/support/FileTime.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/host/mount/MountedStorageTest.h"

#include <cerrno>

namespace storage::tests {

namespace {

using host::AttributeChange;
using provider::StorageIRI;

/// The times of entries.
class MountedTimeTest : public MountedStorageTest {
protected:
    std::string storedTime(const std::string& path) const {
        return host::formatMicroseconds(stored(path).lastModified);
    }

    const std::string pastTimeText = "2001-02-03 04:05:06.123456 UTC";
};

TEST_F(MountedTimeTest, IsKeptWhenAFileIsOpenedForWriting) {
    FileInode& file = mount_.makeFile("/f", "abc");
    mount_.setModified(file, pastTime);
    mount_.storage().settle(); // closes the stream
    mount_.storage().allocate(file, 0, 0, 1);
    EXPECT_EQ(mount_.modifiedOf(file), pastTime);
    EXPECT_EQ(storedTime("/f"), pastTimeText);
}

TEST_F(MountedTimeTest, ReplacesNotADateTimeByTheCurrentTime) {
    using boost::posix_time::ptime;
    const auto loadedTime = [&](const ptime& time) {
        const std::string name = "f" + std::to_string(memory_->doListAllNamesOnly(StorageIRI(u"/")).size());
        const StorageIRI iri(u"/" + std::u16string(name.begin(), name.end()));
        memory_->doCreateFile(iri);
        memory_->doSetLastModified(iri, time);
        return mount_.modifiedOf(mount_.file("/" + name));
    };
    const timespec before = host::toDiskTime(boost::posix_time::second_clock::universal_time());
    EXPECT_GE(loadedTime(ptime(boost::posix_time::not_a_date_time)).tv_sec, before.tv_sec);
    EXPECT_EQ(host::formatDiskTime(loadedTime(ptime(boost::posix_time::pos_infin))),
              "9999-12-31 23:59:59.999999 UTC");
    EXPECT_EQ(host::formatDiskTime(loadedTime(ptime(boost::posix_time::neg_infin))),
              "1400-01-01 00:00:00.000000 UTC");
}

TEST_F(MountedTimeTest, IsKeptByReading) {
    FileInode& file = mount_.makeFile("/f", "abc");
    mount_.setModified(file, pastTime);
    mount_.storage().settle();
    mount_.bytesOf(file);
    EXPECT_EQ(mount_.modifiedOf(file), pastTime);
    EXPECT_EQ(storedTime("/f"), pastTimeText);
}

TEST_F(MountedTimeTest, IsUpdatedByAStamp) {
    FileInode& file = mount_.makeFile("/f", "abc");
    AttributeChange change;
    change.modified = pastTime;
    change.changed = pastTime;
    mount_.storage().change(file, change);
    mount_.storage().stampModified(file);
    EXPECT_GT(mount_.modifiedOf(file).tv_sec, pastTime.tv_sec);
    EXPECT_GT(mount_.storage().status(file).st_ctim.tv_sec, pastTime.tv_sec);
    mount_.storage().settle();
    expectStorageAsSeen();
}

TEST_F(MountedTimeTest, IsUpdatedByATruncation) {
    for (const std::uint64_t size : {60U, 30U, 0U, 200U}) {
        FileInode& file = mount_.makeFile("/f", std::string(100, 'x'));
        mount_.setModified(file, pastTime);
        mount_.resize(file, size);
        EXPECT_GT(mount_.modifiedOf(file).tv_sec, pastTime.tv_sec) << size;
        expectStorageAsSeen();
        mount_.removeFile("/f");
    }
}

TEST_F(MountedTimeTest, IsSetTogetherWithATruncation) {
    for (const std::uint64_t size : {60U, 30U, 0U, 100U, 200U}) {
        FileInode& file = mount_.makeFile("/f", std::string(100, 'x'));
        AttributeChange change;
        change.size = size;
        change.modified = pastTime;
        EXPECT_EQ(mount_.storage().change(file, change).st_mtim, pastTime);
        EXPECT_EQ(storedTime("/f"), pastTimeText) << size;
        expectStorageAsSeen();
        mount_.removeFile("/f");
    }
}

TEST_F(MountedTimeTest, IsKeptByATruncationToTheSameSize) {
    FileInode& file = mount_.makeFile("/f", std::string(100, 'x'));
    mount_.setModified(file, pastTime);
    mount_.resize(file, 100);
    EXPECT_EQ(mount_.modifiedOf(file), pastTime);
    expectStorageAsSeen();
}

TEST_F(MountedTimeTest, IsKeptBySettling) {
    FileInode& file = mount_.makeFile("/f", std::string(100, 'x'));
    mount_.resize(file, 60);
    mount_.setModified(file, pastTime);
    mount_.storage().settle();
    EXPECT_EQ(storedSize("/f"), 60U);
    EXPECT_EQ(storedTime("/f"), pastTimeText);
}

TEST_F(MountedTimeTest, IsKeptToTheNanosecondAndStoredToTheMicrosecond) {
    Inode& file = mount_.makeFile("/f");
    AttributeChange change;
    change.modified = timespec{1'700'000'000, 123'456'789};
    EXPECT_EQ(mount_.storage().change(file, change).st_mtim, *change.modified);
    EXPECT_EQ(storedTime("/f"), "2023-11-14 22:13:20.123456 UTC");
    Inode& folder = mount_.makeFolder("/d");
    EXPECT_EQ(mount_.storage().change(folder, change).st_mtim, *change.modified);
    EXPECT_EQ(mount_.modifiedOf(folder), *change.modified);
    EXPECT_EQ(storedTime("/d"), "2023-11-14 22:13:20.123456 UTC");
    expectStorageAsSeen();
    EXPECT_EQ(mount_.modifiedOf(file), *change.modified);
    mount_.setModified(mount_.storage().root(), pastTime);
    EXPECT_EQ(storedTime("/"), pastTimeText);
}

TEST_F(MountedTimeTest, MayBeBeforeTheEpoch) {
    Inode& file = mount_.makeFile("/f");
    mount_.setModified(file, {-1, 999'999'000});
    EXPECT_EQ(mount_.modifiedOf(file), (timespec{-1, 999'999'000}));
    EXPECT_EQ(storedTime("/f"), "1969-12-31 23:59:59.999999 UTC");
}

TEST_F(MountedTimeTest, IsClampedToTheRangeOfStorages) {
    Inode& file = mount_.makeFile("/f");
    constexpr std::time_t year = 31'556'952;
    mount_.setModified(file, {-1000 * year, 0}); // 970
    EXPECT_EQ(storedTime("/f"), "1400-01-01 00:00:00.000000 UTC");
    mount_.setModified(file, {10'000 * year, 0}); // 11970
    EXPECT_EQ(storedTime("/f").substr(0, 10), "9999-12-31");
    EXPECT_EQ(mount_.modifiedOf(file), (timespec{10'000 * year, 0})) << "the mount keeps the exact time";
    expectStorageAsSeen();
}

TEST_F(MountedTimeTest, KeepsTimesOfAccessAndChange) {
    Inode& file = mount_.makeFile("/f");
    AttributeChange change;
    change.accessed = timespec{1000, 5000};
    change.changed = timespec{2000, 6000};
    mount_.storage().change(file, change);
    mount_.setModified(file, pastTime);
    const struct stat status = mount_.storage().status(file);
    EXPECT_EQ(status.st_atim, (timespec{1000, 5000}));
    EXPECT_EQ(status.st_mtim, pastTime);
    EXPECT_GT(status.st_ctim.tv_sec, 1'000'000'000) << "a change of the modification time is a change";
    change.modified = pastTime;
    mount_.storage().change(file, change);
    EXPECT_EQ(mount_.storage().status(file).st_ctim, (timespec{2000, 6000}));
    mount_.rename("/f", "/g");
    EXPECT_EQ(mount_.storage().status(file).st_atim, (timespec{1000, 5000}));
}

TEST_F(MountedTimeTest, UpdatesTheAccessTimeAsWithRelatime) {
    FileInode& file = mount_.makeFile("/f", "abc");
    const auto accessed = [&](Inode& inode) { return mount_.storage().status(inode).st_atim; };
    AttributeChange change;
    change.accessed = change.modified = change.changed = pastTime;
    mount_.storage().change(file, change);
    mount_.bytesOf(file);
    EXPECT_GT(accessed(file).tv_sec, pastTime.tv_sec) << "not later than the modification";
    change.accessed = timespec{pastTime.tv_sec, pastTime.tv_nsec + 1};
    mount_.storage().change(file, change);
    mount_.bytesOf(file);
    EXPECT_GT(accessed(file).tv_sec, pastTime.tv_sec) << "a day old";
    const timespec recently{std::time(nullptr) - 3600, 0};
    change.accessed = recently;
    mount_.storage().change(file, change);
    mount_.bytesOf(file);
    EXPECT_EQ(accessed(file), recently);
    change.changed = timespec{recently.tv_sec + 1, 0};
    mount_.storage().change(file, change);
    mount_.bytesOf(file);
    EXPECT_GT(accessed(file).tv_sec, recently.tv_sec) << "the file has changed since";
    EXPECT_EQ(mount_.storage().status(file).st_ctim, *change.changed) << "reading is no change";
}

TEST_F(MountedTimeTest, UpdatesTheAccessTimeOfAListedFolder) {
    FolderInode& folder = mount_.makeFolder("/d");
    AttributeChange change;
    change.accessed = change.modified = change.changed = pastTime;
    mount_.storage().change(folder, change);
    mount_.namesIn(folder);
    EXPECT_GT(mount_.storage().status(folder).st_atim.tv_sec, pastTime.tv_sec);
    EXPECT_EQ(mount_.modifiedOf(folder), pastTime);
}

TEST_F(MountedTimeTest, KeepsTheCreationTime) {
    FileInode& file = mount_.makeFile("/f", "abc");
    const timespec born = mount_.storage().completeStatus(file).born;
    EXPECT_GE(born.tv_sec, std::time(nullptr) - 100);
    AttributeChange change;
    change.accessed = change.modified = change.changed = pastTime;
    mount_.storage().change(file, change);
    mount_.write(file, 0, "xyz");
    mount_.rename("/f", "/g");
    EXPECT_EQ(mount_.storage().completeStatus(file).born, born);
    EXPECT_EQ(mount_.storage().completeStatus(file).status.st_ino, mount_.storage().status(file).st_ino);
}

TEST_F(MountedTimeTest, TakesTheCreationTimeOfExistingEntriesFromTheirModification) {
    memory_->doCreateFile(StorageIRI(u"/f"));
    memory_->doSetLastModified(StorageIRI(u"/f"), host::fromDiskTime(pastTime));
    EXPECT_EQ(mount_.storage().completeStatus(mount_.at("/f")).born, pastTime);
}

TEST_F(MountedTimeTest, IsKeptWhenAFileIsRenamed) {
    Inode& file = mount_.makeFile("/f", "abc");
    mount_.setModified(file, pastTime);
    mount_.rename("/f", "/g");
    EXPECT_EQ(mount_.modifiedOf(file), pastTime);
    EXPECT_EQ(storedTime("/g"), pastTimeText);
    mount_.makeFile("/target");
    mount_.rename("/g", "/target");
    EXPECT_EQ(storedTime("/target"), pastTimeText);
}

TEST_F(MountedTimeTest, IsKeptBelowARenamedFolder) {
    mount_.makeFolder("/d");
    mount_.makeFolder("/d/s");
    mount_.makeFile("/d/s/f", "abc");
    for (const char* const path : {"/d/s/f", "/d/s", "/d"}) {
        mount_.setModified(mount_.at(path), pastTime);
    }
    mount_.rename("/d", "/e");
    for (const char* const path : {"/e/s/f", "/e/s", "/e"}) {
        EXPECT_EQ(storedTime(path), pastTimeText) << path;
    }
    EXPECT_EQ(mount_.modifiedOf(mount_.at("/e")), pastTime);
    expectStorageAsSeen();
}

TEST_F(MountedTimeTest, IsUpdatedInAFolderByChangesOfItsEntries) {
    FolderInode& folder = mount_.makeFolder("/d");
    FolderInode& other = mount_.makeFolder("/e");
    const auto expectModified = [&](FolderInode& inode) {
        EXPECT_GT(mount_.modifiedOf(inode).tv_sec, pastTime.tv_sec);
        EXPECT_GE(mount_.storage().status(inode).st_ctim.tv_sec, mount_.modifiedOf(inode).tv_sec);
        mount_.setModified(inode, pastTime);
    };
    mount_.setModified(folder, pastTime);
    mount_.setModified(other, pastTime);
    mount_.makeFile("/d/f");
    expectModified(folder);
    mount_.makeFolder("/d/s");
    expectModified(folder);
    mount_.rename("/d/f", "/e/f");
    expectModified(folder);
    expectModified(other);
    mount_.removeFile("/e/f");
    expectModified(other);
    mount_.removeFolder("/d/s");
    expectModified(folder);
    EXPECT_EQ(mount_.modifiedOf(folder), pastTime);
    expectStorageAsSeen();
}

} // namespace

} // namespace storage::tests
