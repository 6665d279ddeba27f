#include "host/disk/DiskXattrs.h"
#include "host/mount/MountExportSource.h"
#include "host/mount/MountImportTarget.h"
#include "host/session/ImportLog.h"
#include "host/support/Interruption.h"
#include "host/transfer/Exporter.h"
#include "host/transfer/Importer.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/support/DefaultSignals.h"
#include "tests/support/SharedProvider.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TreeSnapshot.h"

#include <algorithm>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace storage::tests {

namespace {

namespace fs = std::filesystem;
using host::Console;
using host::Exporter;
using host::FileDescriptor;
using host::FileInode;
using host::Importer;
using host::ImportLog;
using host::MountedStorage;
using host::MountExportSource;
using host::MountImportTarget;
using host::MountOptions;
using host::OutputKind;
using host::Owner;
using host::readXattrs;
using host::RootAttributes;
using host::StoragePath;

/// Describes an entry of the disk for comparison.
std::string describeEntry(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    std::ostringstream text;
    text << std::oct << status.st_mode << std::dec << ' ' << status.st_uid << ':' << status.st_gid << ' '
         << status.st_mtim.tv_sec << '.' << status.st_mtim.tv_nsec << ' ' << status.st_rdev;
    if (!S_ISDIR(status.st_mode)) {
        text << " names " << status.st_nlink;
    }
    if (S_ISREG(status.st_mode)) {
        text << " size " << status.st_size << " blocks " << status.st_blocks << " hash "
             << std::hash<std::string>()(readFile(path));
    }
    if (S_ISLNK(status.st_mode)) {
        text << " to " << fs::read_symlink(path);
    }
    if (S_ISREG(status.st_mode) || S_ISDIR(status.st_mode)) {
        for (const auto& [name, value] : readXattrs(FileDescriptor(path, O_RDONLY))) {
            text << ' ' << name << '=' << value;
        }
    }
    return text.str();
}

/// Imports into a storage before it is mounted, and exports from it, without the kernel.
class MountTransferTest : public testing::Test {
protected:
    void import() {
        MountImportTarget target(storage_, MountOptions::Xattrs::Kept);
        ImportLog imports;
        Importer(target, console_, imports).run(disk_ / "src", StoragePath(), RootAttributes::Untouched);
        EXPECT_EQ(err_.str(), "");
    }

    void exportAll(const std::string& name) {
        MountExportSource source(storage_);
        Exporter(source, console_).run(StoragePath(), disk_.makeFolder(name), RootAttributes::Untouched);
        EXPECT_EQ(err_.str(), "");
    }

    void expectSame(const std::string& exported) {
        for (const auto& entry : fs::recursive_directory_iterator(disk_ / "src")) {
            const std::string relative = entry.path().string().substr((disk_ / "src").size());
            EXPECT_EQ(describeEntry(disk_ / exported + relative), describeEntry(entry.path())) << relative;
        }
        const auto count = [](const std::string& folder) {
            return std::distance(fs::recursive_directory_iterator(folder), {});
        };
        EXPECT_EQ(count(disk_ / exported), count(disk_ / "src"));
    }

    host::Inode& at(const std::string& name) {
        host::Inode& inode = *storage_.lookUp(storage_.root(), name).inode;
        storage_.release(inode, 1);
        return inode;
    }

    static void setTime(const std::string& path, long nanoseconds) {
        const timespec times[2] = {{0, UTIME_OMIT}, {1000000000, nanoseconds}};
        EXPECT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0) << path;
    }

    TemporaryFolder disk_;
    std::ostringstream out_;
    std::ostringstream err_;
    DefaultSignals defaultSignals_;
    host::Interruption interruption_; // clears a signal of an earlier test
    Console console_{out_, OutputKind::Plain, err_, OutputKind::Plain};
    std::shared_ptr<provider::IProvider> provider_ = sharedProvider(TEST_PLUGIN);
    MountedStorage storage_{*provider_};
};

TEST_F(MountTransferTest, RoundTripsAllAttributesOfADisk) {
    disk_.write("src/f", "content");
    disk_.makeFolder("src/s/t");
    fs::create_hard_link(disk_ / "src/f", disk_ / "src/s/t/g");
    fs::create_symlink("../nowhere", disk_ / "src/s/link");
    fs::create_hard_link(disk_ / "src/s/link", disk_ / "src/s/link2");
    ASSERT_EQ(::mkfifo((disk_ / "src/fifo").c_str(), 0640), 0);
    const bool isRoot = ::geteuid() == 0;
    if (isRoot && ::mknod((disk_ / "src/device").c_str(), S_IFCHR | 0620, makedev(1, 3)) == 0) {
        ASSERT_EQ(::lchown((disk_ / "src/device").c_str(), 1, 2), 0);
        setTime(disk_ / "src/device", 1000);
    }
    if (isRoot) {
        ASSERT_EQ(::lchown((disk_ / "src/f").c_str(), 1234, 5678), 0);
        ASSERT_EQ(::lchown((disk_ / "src/s").c_str(), 1234, 5678), 0);
        ASSERT_EQ(::lchown((disk_ / "src/s/link").c_str(), 1234, 5678), 0);
    }
    ASSERT_EQ(::chmod((disk_ / "src/f").c_str(), 06464), 0);
    ASSERT_EQ(::chmod((disk_ / "src/s").c_str(), 03570), 0);
    for (const char* const name : {"f", "s"}) {
        (void)::setxattr((disk_ / "src/" + name).c_str(), "user.note", "text", 4,
                         0); // ignored if the disk has none
    }
    long nanoseconds = 123456789;
    for (const char* const name : {"f", "s/link", "fifo", "s/t", "s"}) {
        setTime(disk_ / "src/" + name, nanoseconds += 1000);
    }
    import();
    EXPECT_EQ(takeSnapshot(*provider_).size(), 4U)
        << "the root, two folders and one file: its bytes are there once";
    exportAll("out");
    expectSame("out");
    exportAll("out");
    expectSame("out");
}

TEST_F(MountTransferTest, ExportsLargeFoldersInParts) {
    constexpr int files = 1000;
    for (int i = 0; i < files; ++i) {
        disk_.write("src/d/" + std::to_string(i), std::to_string(i));
    }
    disk_.makeFolder("src/d/below/empty");
    import();
    MountExportSource source(storage_);
    const StoragePath folder = StoragePath().child(u"d");
    std::set<std::u16string> names;
    std::uint64_t position = 0;
    do {
        const auto part = source.childrenFrom(folder, position);
        EXPECT_LE(part.children.size(), 256U);
        EXPECT_TRUE(std::ranges::is_sorted(part.children, {}, &host::ExportSource::Child::name));
        for (const auto& child : part.children) {
            EXPECT_TRUE(names.insert(child.name).second);
        }
        position = part.next;
    } while (position != 0);
    EXPECT_EQ(names.size(), files + 1U);
    exportAll("out");
    expectSame("out");
}

TEST_F(MountTransferTest, KeepsHoles) {
    constexpr off_t oneMebibyte = 1 << 20;
    {
        const FileDescriptor file(disk_.write("src/sparse", "begin"), O_WRONLY);
        ASSERT_EQ(::pwrite(file.number(), "middle", 6, 5 * oneMebibyte), 6);
        ASSERT_EQ(::ftruncate(file.number(), 9 * oneMebibyte), 0);
    }
    import();
    const struct stat status = storage_.status(at("sparse"));
    EXPECT_EQ(status.st_size, 9 * oneMebibyte);
    EXPECT_EQ(status.st_blocks, 16) << "two pages";
    exportAll("out");
    expectSame("out");
}

TEST_F(MountTransferTest, OverwritesAttributesOfTheTarget) {
    disk_.write("src/f", "old");
    disk_.makeFolder("src/d");
    import();
    exportAll("out");
    (void)::setxattr((disk_ / "out/d").c_str(), "user.other", "x", 1, 0);
    host::AttributeChange change;
    change.permissions = 0711;
    storage_.change(at("f"), change);
    change.permissions = 0750;
    storage_.change(at("d"), change);
    const auto folder = storage_.lookUp(storage_.root(), "d");
    storage_.link(at("f"), static_cast<host::FolderInode&>(*folder.inode), "g");
    exportAll("out");
    EXPECT_EQ(describeEntry(disk_ / "out/f"), describeEntry(disk_ / "out/d/g"));
    EXPECT_EQ(fs::hard_link_count(disk_ / "out/f"), 2U);
    EXPECT_EQ(fs::status(disk_ / "out/f").permissions(), fs::perms(0711));
    EXPECT_EQ(fs::status(disk_ / "out/d").permissions(), fs::perms(0750));
    EXPECT_TRUE(readXattrs(FileDescriptor(disk_ / "out/d", O_RDONLY)).empty());
}

TEST_F(MountTransferTest, KeepsTheOwnerOfSetIdFiles) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can create files of other users";
    }
    disk_.write("src/f", "x");
    ASSERT_EQ(::chown((disk_ / "src/f").c_str(), 1234, 5678), 0);
    ASSERT_EQ(::chmod((disk_ / "src/f").c_str(), 06755), 0);
    setTime(disk_ / "src/f", 1000);
    import();
    EXPECT_EQ(storage_.status(at("f")).st_uid, 1234U);
    EXPECT_EQ(storage_.status(at("f")).st_mode & 07777U, 06755U);
    exportAll("out");
    expectSame("out");
}

} // namespace

} // namespace storage::tests
