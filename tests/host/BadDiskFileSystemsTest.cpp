#include "tests/host/BadDiskTest.h"

#include <cerrno>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

namespace storage::tests {

namespace {

using testing::EndsWith;
using testing::HasSubstr;

/// Tests full disks and mount points of other file systems. Some tests mount a small disk in a mount
/// namespace of their own.
using BadDiskFileSystemsTest = BadDiskTest;

constexpr int notPermitted = 77; ///< exit status of a preparation that the system does not permit

void writeTo(const char* path, const std::string& text) {
    std::ofstream(path) << text;
}

/// Gives the process its own mount namespace, with a small disk at `folder`.
void mountSmallDisk(const std::string& folder, const char* limits) {
    const std::string user = std::to_string(::geteuid());
    const std::string group = std::to_string(::getegid());
    // Mounting requires root, but every user can be root in a user namespace.
    if (::unshare(CLONE_NEWNS) != 0) {
        if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
            ::_exit(notPermitted);
        }
        writeTo("/proc/self/setgroups", "deny");
        writeTo("/proc/self/uid_map", "0 " + user + " 1");
        writeTo("/proc/self/gid_map", "0 " + group + " 1");
    }
    if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount("tmpfs", folder.c_str(), "tmpfs", 0, limits) != 0) {
        ::_exit(notPermitted);
    }
}

// --- A full disk ---

TEST_F(BadDiskFileSystemsTest, ReportsATooLargeFileAndExportsTheRest) {
    disk_.write("out/2", "old");
    const ProgramRun run =
        runLines("mkdir /out\nwrite /out/1 x\ntruncate -s 1M /out/2\nwrite /out/3 y\nexport /out " +
                     disk_.path() + "\n",
                 [] {
                     const rlimit small{65536, 65536};
                     ::setrlimit(RLIMIT_FSIZE, &small);
                 });
    EXPECT_EQ(run.errors(), line("export: " + disk_ / "out/2" + ": File too large"));
    EXPECT_EQ(run.output(), "exported 1 folder, 2 files, 4 bytes\n");
    EXPECT_EQ(run.status(), 1);
    EXPECT_EQ(namesIn(disk_ / "out"), "1 2 3");
    EXPECT_EQ(readFile(disk_ / "out/2"), "old");
}

TEST_F(BadDiskFileSystemsTest, ReportsAFullDiskAndExportsTheRest) {
    const std::string disk = disk_.makeFolder("small");
    // Only the program sees the resulting disk, so it imports the files.
    const ProgramRun run =
        runLines("mkdir /a\nwrite /a/1 x\nwrite /a/2 old\nwrite /a/3 y\nexport /a " + disk +
                     "\ntruncate -s 1M /a/2\nwrite /a/3 z\nexport /a " + disk + "\nimport " + disk +
                     "/a /seen\nfind /seen\ncat /seen/1 /seen/2 /seen/3\n",
                 [&] { mountSmallDisk(disk, "size=256k"); });
    if (run.status() == notPermitted) {
        GTEST_SKIP() << "mounting a small disk is not permitted here";
    }
    EXPECT_EQ(run.errors(), line("export: " + disk + "/a/2: No space left on device"));
    EXPECT_EQ(run.output(),
              "exported 1 folder, 3 files, 8 bytes\nexported 1 folder, 2 files, 4 bytes\n"
              "imported 1 folder, 3 files, 8 bytes\n/seen\n/seen/1\n/seen/2\n/seen/3\nx\nold\nz\n");
    EXPECT_EQ(run.status(), 1);
}

TEST_F(BadDiskFileSystemsTest, ReportsADiskWithoutFreeInodes) {
    const std::string disk = disk_.makeFolder("small");
    const ProgramRun run =
        runLines("mkdir -p /a/4\nwrite /a/1 x\nwrite /a/2 y\nwrite /a/3 z\nwrite /a/4/5 z\nexport /a " +
                     disk + "\nimport " + disk + "/a /seen\nfind /seen\n",
                 [&] { mountSmallDisk(disk, "nr_inodes=4"); }); // the root, a, 1 and 2
    if (run.status() == notPermitted) {
        GTEST_SKIP() << "mounting a small disk is not permitted here";
    }
    EXPECT_EQ(run.errors(), line("export: " + disk + "/a/3: No space left on device") +
                                line("export: " + disk + "/a/4: No space left on device"));
    EXPECT_THAT(run.output(), EndsWith("/seen\n/seen/1\n/seen/2\n"));
    EXPECT_EQ(run.status(), 1);
}

// --- Other file systems ---

TEST_F(BadDiskFileSystemsTest, ImportsPseudoFileSystemsOnlyOnRequest) {
    EXPECT_EQ(fail("import /proc/self/net /n"),
              line("import: /proc/self/net: on a proc file system, which stores no files; "
                   "only 'import --one-file-system=no' reads it"));
    EXPECT_EQ(succeed("find /"), "/\n");
    EXPECT_THAT(fail("import -x /proc/self/net /n"), HasSubstr("stores no files"));
    run("import --one-file-system=no /proc/self/net /n");
    EXPECT_THAT(succeed("find /n -name dev"), HasSubstr("/n/dev\n"));
    succeed("import /proc/self/status /status");
    EXPECT_EQ(run("import --one-file-system=maybe /proc/self/net /m"), ExitStatus::Usage);
    EXPECT_EQ(errors(), line("import: --one-file-system: 'maybe' is neither yes nor no"));
}

TEST_F(BadDiskFileSystemsTest, ImportsSkippedMountPointsAsEmptyFolders) {
    const std::string source = disk_.makeFolder("src");
    disk_.makeFolder("src/proc");
    disk_.makeFolder("src/small");
    const auto mountBoth = [&] {
        mountSmallDisk(source + "/small", "size=256k");
        writeTo((source + "/small/f").c_str(), "x");
        if (::mount("proc", (source + "/proc").c_str(), "proc", 0, nullptr) != 0) {
            ::_exit(notPermitted);
        }
    };
    const ProgramRun usual = runLines("import " + source + " /n\nfind /n\n", mountBoth);
    if (usual.status() == notPermitted) {
        GTEST_SKIP() << "mounting is not permitted here";
    }
    const std::string procSkipped = line("import: " + source + "/proc: content skipped, a proc file system");
    EXPECT_EQ(usual.errors(), procSkipped);
    EXPECT_EQ(usual.output(),
              "imported 3 folders, 1 file, 1 byte, skipped 1\n/n\n/n/proc\n/n/small\n/n/small/f\n");
    for (const std::string option : {"-x", "--one-file-system=yes", "--one-file-system yes"}) {
        const ProgramRun one = runLines("import " + option + " " + source + " /n\nfind /n\n", mountBoth);
        EXPECT_EQ(one.errors(),
                  procSkipped + line("import: " + source + "/small: content skipped, another file system"));
        EXPECT_EQ(one.output(), "imported 3 folders, 0 files, 0 bytes, skipped 2\n/n\n/n/proc\n/n/small\n");
    }
}

} // namespace

} // namespace storage::tests
