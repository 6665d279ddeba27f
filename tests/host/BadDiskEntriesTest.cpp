#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/host/BadDiskTest.h"

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

namespace storage::tests {

namespace {

namespace fs = std::filesystem;
using provider::StorageIRI;
using testing::EndsWith;

/// Tests names, deep paths, links and special files.
using BadDiskEntriesTest = BadDiskTest;

void makeSocket(const std::string& path) {
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{AF_UNIX, {}};
    ASSERT_LT(path.size(), sizeof address.sun_path);
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ::close(socket);
}

// --- Names ---

TEST_F(BadDiskEntriesTest, PreservesNamesThatAreNotUtf8) {
    disk_.write("src/a\xFF", "x");
    disk_.write("src/b", "x");
    disk_.write("src/d\xC3/f", "x");
    disk_.write("src/\xC3\xA4", "x");
    const std::string source = disk_ / "src";
    EXPECT_EQ(succeed("import " + source + " /n"), "imported 2 folders, 4 files, 4 bytes\n");
    EXPECT_EQ(succeed("ls /n"), "a\xFF\nb\nd\xC3\nä\n");
    EXPECT_EQ(succeed("cat /n/a\xFF /n/d\xC3/f"), "xx");
    EXPECT_EQ(succeed("import " + source + "/a\xFF /"), "imported 0 folders, 1 file, 1 byte\n");
    EXPECT_TRUE(provider_->doFileExists(StorageIRI(u"/a\xDCFF")));
    EXPECT_THAT(succeed("check -t"), EndsWith(": equal\n"));
    succeed("export /n " + disk_ / "out");
    EXPECT_EQ(namesIn(disk_ / "out"), namesIn(source));
    EXPECT_EQ(fail("cat /n/\xC3"), line("cat: /n/\\xC3: no such file or folder"));
    EXPECT_EQ(fail("export /n " + disk_ / "\xFF/x"),
              line("export: " + disk_ / "\\xFF/x" + ": folder " + disk_ / "\\xFF" + " does not exist"));
}

TEST_F(BadDiskEntriesTest, ReportsInvalidNamesAndExportsTheRest) {
    succeed("mkdir -p /a/s");
    succeed("write /a/f one");
    for (const std::u16string& name :
         {std::u16string(u"\xD800"), std::u16string(u"x\xDC00y"), std::u16string(u".."), std::u16string(u"."),
          std::u16string(u"n\0l", 3), std::u16string(300, u'x')}) {
        provider_->doCreateFile(StorageIRI(u"/a/" + name));
    }
    provider_->doCreateFolder(StorageIRI(u"/a/s/\xDBFF"));
    provider_->doCreateFile(StorageIRI(u"/a/s/\xDBFF/f"));
    const std::string notPossible = ": not a valid file name on disk";
    const std::string noBytes = ": the name cannot be converted to bytes";
    EXPECT_EQ(fail("export /a " + disk_ / "out"),
              line("export: /a/." + notPossible) + line("export: /a/.." + notPossible) +
                  line("export: /a/n\\x00l" + notPossible) + line("export: /a/s/\\uDBFF" + noBytes) +
                  line("export: " + disk_ / "out/" + std::string(300, 'x') + ": File name too long") +
                  line("export: /a/x\\uDC00y" + noBytes) + line("export: /a/\\uD800" + noBytes));
    EXPECT_EQ(namesIn(disk_ / "out"), "f s");
    EXPECT_EQ(namesIn(disk_ / "out/s"), "");
    EXPECT_EQ(namesIn(disk_.path()), "out");
    EXPECT_EQ(fail(std::string("export /a/n\0l ", 14) + disk_.path()),
              line("export: /a/n\\x00l" + notPossible));
}

TEST_F(BadDiskEntriesTest, TransfersPathsLongerThanPathMax) {
    StorageIRI folder(u"/deep");
    provider_->doCreateFolder(folder);
    for (int depth = 0; depth < 30; ++depth) {
        folder = StorageIRI(folder.getPath() + u'/' + std::u16string(200, u'd'));
        provider_->doCreateFolder(folder);
    }
    provider_->doCreateFile(StorageIRI(folder.getPath() + u"/f"));
    EXPECT_EQ(succeed("export /deep " + disk_ / "out"), "exported 31 folders, 1 file, 0 bytes\n");
    EXPECT_EQ(succeed("import " + disk_ / "out" + " /back"), "imported 31 folders, 1 file, 0 bytes\n");
    folder = StorageIRI(u"/back" + folder.getPath().substr(5));
    EXPECT_TRUE(provider_->doFileExists(StorageIRI(folder.getPath() + u"/f")));
}

TEST_F(BadDiskEntriesTest, ExportsNamesAndPathsOfMaximumLength) {
    const std::string name(255, 'n');
    succeed("write /" + name + " new");
    succeed("export /" + name + " " + disk_.path());
    EXPECT_EQ(readFile(disk_ / name), "new\n");
    std::string folder = disk_.path();
    while (folder.size() + 202 < 4095) {
        folder += '/' + std::string(200, 'd');
    }
    fs::create_directories(folder);
    const std::string last(4095 - folder.size() - 1, 'f');
    succeed("write /f new");
    succeed("export /f " + folder + '/' + last);
    EXPECT_EQ(readFile(folder + '/' + last), "new\n");
}

TEST_F(BadDiskEntriesTest, TransfersMoreLevelsThanTheDescriptorLimit) {
    std::string lines = "mkdir -p ";
    for (int depth = 0; depth < 100; ++depth) {
        lines += "/d";
    }
    const ProgramRun run =
        runLines(lines + "\nexport /d " + disk_ / "out" + "\nimport " + disk_ / "out" + " /back\n", [] {
            rlimit usual{};
            ::getrlimit(RLIMIT_NOFILE, &usual);
            usual.rlim_cur = std::min<rlim_t>(64, usual.rlim_max);
            ::setrlimit(RLIMIT_NOFILE, &usual);
        });
    EXPECT_EQ(run.errors(), "");
    EXPECT_EQ(run.output(),
              "exported 100 folders, 0 files, 0 bytes\nimported 100 folders, 0 files, 0 bytes\n");
}

// --- Links and special files ---

TEST_F(BadDiskEntriesTest, KeepsLinksAndSpecialFilesAndSkipsSockets) {
    disk_.write("src/f", "x");
    disk_.makeFolder("src/s");
    fs::create_symlink("nowhere", disk_ / "src/dangling");
    fs::create_symlink("loop", disk_ / "src/loop");
    fs::create_symlink("f", disk_ / "src/to-file");
    fs::create_symlink("s", disk_ / "src/to-folder");
    fs::create_symlink("..", disk_ / "src/s/up");
    makeFifo(disk_ / "src/fifo");
    makeSocket(disk_ / "src/sock");
    const bool hasDevice = ::mknod((disk_ / "src/null").c_str(), S_IFCHR | 0600, makedev(1, 3)) == 0;
    const std::string special = hasDevice ? "2 special files" : "1 special file";
    EXPECT_EQ(run("import " + disk_ / "src" + " /n"), ExitStatus::Success);
    EXPECT_EQ(errors(), line("import: " + disk_ / "src/sock" + ": skipped, a socket") +
                            line("import: 5 symbolic links and " + special +
                                 " are kept for exports; the storage cannot hold them"));
    const std::string counts = "2 folders, 1 file, 1 byte, 5 symbolic links, " + special;
    EXPECT_EQ(output(), "imported " + counts + ", skipped 1\n");
    EXPECT_EQ(succeed("find /n"), "/n\n/n/f\n/n/s\n");
    EXPECT_EQ(succeed("check -t"), "check: " + counts + ", skipped 1: equal\n");
    EXPECT_EQ(succeed("export /n " + disk_ / "out"), "exported " + counts + '\n');
    EXPECT_EQ(succeed("check -t /n " + disk_ / "out"), "check: " + counts + ": equal\n");
    EXPECT_EQ(fs::read_symlink(disk_ / "out/s/up"), "..");
    succeed("mv /n /out");
    EXPECT_EQ(succeed("export /out " + disk_.path()), "exported " + counts + '\n') << "onto the same";
    EXPECT_EQ(namesIn(disk_ / "out"), hasDevice ? "dangling f fifo loop null s to-file to-folder"
                                                : "dangling f fifo loop s to-file to-folder");
}

TEST_F(BadDiskEntriesTest, FollowsLinksAndRejectsSpecialFilesAsOperands) {
    disk_.write("f", "x");
    fs::create_symlink("f", disk_ / "to-file");
    fs::create_symlink(disk_.makeFolder("s"), disk_ / "to-folder");
    fs::create_symlink("nowhere", disk_ / "dangling");
    fs::create_symlink("loop", disk_ / "loop");
    makeFifo(disk_ / "fifo");
    makeSocket(disk_ / "sock");
    succeed("import " + disk_ / "to-file" + " " + disk_ / "to-folder" + " /");
    EXPECT_EQ(succeed("find /"), "/\n/to-file\n/to-folder\n");
    const std::string noFile = ", not a file or folder";
    for (const auto& [path, reason] :
         std::map<std::string, std::string>{{disk_ / "dangling", "No such file or directory"},
                                            {disk_ / "loop", "Too many levels of symbolic links"},
                                            {disk_ / "loop/x", "Too many levels of symbolic links"},
                                            {disk_ / "f/x", "Not a directory"},
                                            {disk_ / "fifo", "a fifo" + noFile},
                                            {disk_ / "sock", "a socket" + noFile},
                                            {"/dev/zero", "a device" + noFile}}) {
        EXPECT_EQ(fail("import " + path + " /z"), line("import: " + path + ": " + reason));
    }
    EXPECT_EQ(fail("check /to-file " + disk_ / "fifo"),
              line("check: /to-file: a file, but " + disk_ / "fifo" + " is a fifo"));
    for (const auto& [name, kind] : std::map<std::string, std::string>{{"fifo", "a fifo"},
                                                                       {"sock", "a socket"},
                                                                       {"loop", "a symbolic link"},
                                                                       {"to-file", "a symbolic link"}}) {
        EXPECT_EQ(fail("export /to-file " + disk_ / name),
                  line("export: " + disk_ / name + ": " + kind + " is in the way"));
    }
    EXPECT_EQ(namesIn(disk_.path()), "dangling f fifo loop s sock to-file to-folder");
}

} // namespace

} // namespace storage::tests
