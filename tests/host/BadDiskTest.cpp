#include "host/disk/FileDescriptor.h"
#include "host/process/ChildProcess.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/SessionTest.h"
#include "tests/support/TreeContents.h"
#include "tests/support/Unprivileged.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iostream>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <sys/xattr.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace storage::tests {

namespace {

namespace fs = std::filesystem;
using host::FileDescriptor;
using provider::StorageIRI;
using testing::AnyOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

const std::string badPlugin = std::string(TEST_BAD_PLUGINS) + "/libBadProvider.so";
constexpr int notPermitted = 77; ///< exit status of a preparation that the system does not permit
constexpr std::size_t mebibyte = std::size_t{1} << 20;

/// Tests `import`, `export` and `check` with failing disks, racing programs and malformed command lines.
/// Tests that interfere in the middle of a command use the fixture's session; the others run the program.
class BadDiskTest : public SessionTest {
protected:
    static std::string line(const std::string& text) { return "qzstorage: " + text + '\n'; }

    static ProgramRun runLines(
        const std::string& lines, const ProgramRun::Preparation& prepare = [] {}) {
        return {{"shell", "--keep-going"}, lines, prepare};
    }

    /// Calls `interfere` directly before the provider's first call of `operation`.
    void once(const std::string& operation, const std::function<void()>& interfere) {
        provider_->before = [operation, interfere, done = false](const std::string& called,
                                                                 const StorageIRI&) mutable {
            if (called == operation && !done) {
                done = true;
                interfere();
            }
        };
    }

    /// Like `once`, but before the first call at `path`.
    void onceAt(const std::string& operation, const std::u16string& path,
                const std::function<void()>& interfere) {
        provider_->before = [operation, path, interfere, done = false](const std::string& called,
                                                                       const StorageIRI& iri) mutable {
            if (called == operation && iri.getPath() == path && !done) {
                done = true;
                interfere();
            }
        };
    }

    void makeSocket(const std::string& path) {
        const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{AF_UNIX, {}};
        ASSERT_LT(path.size(), sizeof address.sun_path);
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        ASSERT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        ::close(socket);
    }

    void makeFifo(const std::string& path) { ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0); }

    struct State {
        TreeContents storage;
        TreeContents disk;
        bool operator==(const State&) const = default;
    };

    /// Creates the files that the commands of a sweep use.
    void prepareSweep() {
        restore();
        disk_.write("src/a", "whole");
        disk_.write("src/big", std::string(300000, 'x'));
        disk_.write("src/s/g", "two");
        succeed("export /a " + disk_ / "same");
    }

    /// Restores storage and disk to the initial state of every command.
    void restore() {
        resetHooks();
        succeed("cd /");
        succeed("rm -rf /*");
        succeed("mkdir -p /a/s /d");
        succeed("write /a/f one");
        succeed("truncate -s 300K /a/big");
        succeed("write /a/s/g two");
        fs::remove_all(disk_ / "out");
        disk_.write("out/a/f", "old content");
    }

    void resetHooks() {
        provider_->before = [](const char*, const StorageIRI&) {};
        interruption_.clear();
    }

    State state() { return {contentsOf(takeSnapshot(*provider_)), contentsOf(disk_.path())}; }

    /// Checks that every file is in its old state, or in its state after the complete command. Entries that
    /// the complete command keeps must exist.
    static void expectNothingHalfDone(const TreeContents& now, const TreeContents& before,
                                      const TreeContents& after) {
        const auto holds = [](const TreeContents& tree, const TreeContents::value_type& entry) {
            const auto found = tree.find(entry.first);
            return found != tree.end() && found->second == entry.second;
        };
        for (const auto& entry : now) {
            EXPECT_TRUE(holds(before, entry) || holds(after, entry))
                << entry.first << " is in neither its old nor its new state";
        }
        for (const auto& [path, bytes] : before) {
            EXPECT_TRUE(now.contains(path) || !after.contains(path)) << path << " is lost";
        }
    }

    /// Runs the command once for each of its provider calls, and calls `strike` before that call.
    /// @return the number of provider calls
    template <typename Check>
    int sweep(const std::string& command, const std::function<void()>& strike, const Check& check) {
        restore();
        const State before = state();
        succeed(command);
        const State after = state();
        for (int point = 1;; ++point) {
            SCOPED_TRACE(command + ", at provider call " + std::to_string(point));
            restore();
            int calls = 0;
            provider_->before = [&](const char*, const StorageIRI&) {
                if (++calls == point) {
                    strike();
                }
            };
            const ExitStatus status = run(command);
            resetHooks();
            if (calls < point) {
                EXPECT_EQ(status, ExitStatus::Success);
                return point - 1;
            }
            const std::string messages = errors();
            const State now = state();
            expectNothingHalfDone(now.storage, before.storage, after.storage);
            expectNothingHalfDone(now.disk, before.disk, after.disk);
            if (command.starts_with("mv")) {
                EXPECT_TRUE(now == before || now == after) << "a move is atomic";
            }
            check(status, messages, now == after);
        }
    }

    std::vector<std::string> commands() const {
        return {"import " + disk_ / "src" + " /n",
                "import " + disk_ / "src/big" + " " + disk_ / "src/a" + " /d",
                "import " + disk_ / "src/big" + " " + disk_ / "src/s" + " /a",
                "export /a " + disk_ / "out",
                "export / " + disk_ / "all",
                "check /a " + disk_ / "same",
                "cat /a/f /a/big /a/s/g",
                "find / -name '*'",
                "rm -r /a",
                "rm -rf /a /d",
                "cp -r /a /d",
                "cp /a/f /a/big /d",
                "mv /a /m",
                "mv /a/big /d",
                "tree",
                "du",
                "ls -lR"};
    }
};

// --- Entries that cannot be read or written ---

TEST_F(BadDiskTest, ReportsUnreadableEntriesAndImportsTheRest) {
    disk_.write("src/closed", "x");
    disk_.write("src/folder/f", "x");
    disk_.write("src/open", "x");
    fs::permissions(disk_ / "src/closed", fs::perms::none);
    fs::permissions(disk_ / "src/folder", fs::perms::none);
    const ProgramRun run = runLines("import " + disk_ / "src" +
                                        " /n\nfind /n\nmkdir /n/folder\ntouch /n/closed\ncheck\nimport " +
                                        disk_ / "src/closed" + " /top\n",
                                    dropFilePrivileges);
    EXPECT_EQ(run.errors(), line("import: " + disk_ / "src/closed" + ": Permission denied") +
                                line("import: " + disk_ / "src/folder" + ": Permission denied") +
                                line("check: " + disk_ / "src/closed" + ": Permission denied") +
                                line("check: " + disk_ / "src/folder" + ": Permission denied") +
                                line("import: " + disk_ / "src/closed" + ": Permission denied"));
    EXPECT_EQ(run.output(), "imported 1 folder, 1 file, 1 byte\n/n\n/n/open\n"
                            "check: 1 folder, 1 file, 1 byte: 2 differences\n"
                            "imported 0 folders, 0 files, 0 bytes\n");
    EXPECT_EQ(run.status(), 1);
}

TEST_F(BadDiskTest, ReportsEachEntryForAnUnwritableFolder) {
    const std::string closed = disk_.makeFolder("closed");
    fs::permissions(closed, fs::perms::owner_read | fs::perms::owner_exec);
    const ProgramRun run = runLines("mkdir -p /a/s\nwrite /a/f x\nexport /a /a/f " + closed + "\nexport / " +
                                        closed + "\nexport /a " + closed + "/new\n",
                                    dropFilePrivileges);
    EXPECT_EQ(run.errors(), line("export: " + closed + "/a: Permission denied") +
                                line("export: " + closed + "/f: Permission denied") +
                                line("export: " + closed + "/a: Permission denied") +
                                line("export: " + closed + "/new: Permission denied"));
    EXPECT_EQ(run.status(), 1);
    EXPECT_EQ(namesIn(closed), "");
    EXPECT_EQ(fs::status(closed).permissions(), fs::perms::owner_read | fs::perms::owner_exec);
}

TEST_F(BadDiskTest, RepeatsAnExportIntoReadOnlyFolders) {
    const auto modeOf = [&](const std::string& name) { return fs::status(disk_ / name).permissions(); };
    const std::string to = "\nexport /a " + disk_.path() + "\n";
    const ProgramRun first =
        runLines("mkdir -p /a/s\nwrite /a/s/g one\nchmod -w /a/s /a" + to, dropFilePrivileges);
    EXPECT_EQ(first.errors(), "");
    const fs::perms readOnly = modeOf("a");
    EXPECT_EQ(readOnly & fs::perms::owner_write, fs::perms::none);

    const ProgramRun second =
        runLines("mkdir -p /a/s\nwrite /a/s/g two\nwrite /a/s/h new" + to, dropFilePrivileges);
    EXPECT_EQ(second.errors(), "");
    EXPECT_EQ(readFile(disk_ / "a/s/g"), "two\n");
    EXPECT_EQ(namesIn(disk_ / "a/s"), "g h");
    EXPECT_EQ(modeOf("a"), readOnly);
    EXPECT_EQ(modeOf("a/s"), readOnly);

    const ProgramRun interrupted({"--plugin", badPlugin, "shell"}, "mkdir -p /a/s\nwrite /a/s/bad new" + to,
                                 [] {
                                     ::setenv("BAD_PLUGIN", "read signal2", /*replace*/ 1);
                                     dropFilePrivileges();
                                 });
    EXPECT_EQ(interrupted.errors(), line("export: interrupted"));
    EXPECT_EQ(namesIn(disk_ / "a/s"), "g h");
    EXPECT_EQ(modeOf("a"), readOnly);
    EXPECT_EQ(modeOf("a/s"), readOnly);
}

TEST_F(BadDiskTest, StoresNoFileAfterAReadError) {
    EXPECT_EQ(fail("import /proc/self/mem /m"), line("import: /proc/self/mem: Input/output error"));
    EXPECT_EQ(succeed("ls"), "");
}

TEST_F(BadDiskTest, KeepsTheFileOnDiskIfTheStorageCannotBeRead) {
    succeed("mkdir /a");
    succeed("truncate -s 1M /a/f");
    succeed("write /a/g x");
    disk_.write("a/f", "old");
    provider_->beforeRead = [reads = 0]() mutable {
        if (++reads == 2) {
            throw std::runtime_error("torn");
        }
    };
    EXPECT_EQ(fail("export /a " + disk_.path()), line("export: /a/f: torn"));
    EXPECT_EQ(readFile(disk_ / "a/f"), "old");
    EXPECT_EQ(namesIn(disk_ / "a"), "f g");
}

// --- A full disk ---

TEST_F(BadDiskTest, ReportsATooLargeFileAndExportsTheRest) {
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

TEST_F(BadDiskTest, ReportsAFullDiskAndExportsTheRest) {
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

TEST_F(BadDiskTest, ReportsADiskWithoutFreeInodes) {
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

// --- Names ---

TEST_F(BadDiskTest, PreservesNamesThatAreNotUtf8) {
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

TEST_F(BadDiskTest, ReportsInvalidNamesAndExportsTheRest) {
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

TEST_F(BadDiskTest, TransfersPathsLongerThanPathMax) {
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

TEST_F(BadDiskTest, ExportsNamesAndPathsOfMaximumLength) {
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

TEST_F(BadDiskTest, TransfersMoreLevelsThanTheDescriptorLimit) {
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

TEST_F(BadDiskTest, KeepsLinksAndSpecialFilesAndSkipsSockets) {
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

TEST_F(BadDiskTest, FollowsLinksAndRejectsSpecialFilesAsOperands) {
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

// --- Other file systems ---

TEST_F(BadDiskTest, ImportsPseudoFileSystemsOnlyOnRequest) {
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

TEST_F(BadDiskTest, ImportsSkippedMountPointsAsEmptyFolders) {
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

// --- A tree that changes during an import ---

TEST_F(BadDiskTest, ImportsATreeThatChangesMeanwhile) {
    disk_.write("src/a", "first");
    disk_.write("src/b", "x");
    disk_.write("src/c/f", "x");
    disk_.write("src/d", "x");
    disk_.write("src/e", "x");
    disk_.write("src/g", "x");
    once("write", [&] {
        for (const char* name : {"b", "c", "d", "e", "g"}) {
            fs::remove_all(disk_ / "src/" + name);
        }
        disk_.write("src/c", "a file now");
        disk_.write("src/d/f", "a folder now");
        makeFifo(disk_ / "src/e");
        fs::create_symlink("a", disk_ / "src/g");
        disk_.write("src/later", "x");
    });
    EXPECT_EQ(
        fail("import " + disk_ / "src" + " /n"),
        line("import: " + disk_ / "src/b" + ": No such file or directory") +
            line("import: 1 symbolic link and 1 special file are kept for exports; the storage cannot hold "
                 "them"));
    EXPECT_EQ(succeed("find /n"), "/n\n/n/a\n/n/c\n/n/d\n/n/d/f\n");
    EXPECT_EQ(succeed("cat /n/c"), "a file now");
}

TEST_F(BadDiskTest, ReportsEachEntryOfAFolderRemovedDuringAnImport) {
    disk_.write("src/c/f", "x");
    disk_.write("src/c/g", "x");
    disk_.write("src/d", "x");
    provider_->before = [&](const std::string& operation, const StorageIRI& iri) {
        if (operation == "createFolder" && iri.getPath() == u"/n/c") {
            fs::remove_all(disk_ / "src/c");
        }
    };
    EXPECT_EQ(fail("import " + disk_ / "src" + " /n"),
              line("import: " + disk_ / "src/c/f" + ": No such file or directory") +
                  line("import: " + disk_ / "src/c/g" + ": No such file or directory"));
    EXPECT_EQ(succeed("find /n"), "/n\n/n/c\n/n/d\n");
}

TEST_F(BadDiskTest, ImportsAFileThatGrowsMeanwhile) {
    const std::string path = disk_.write("f", "x");
    int writes = 0;
    provider_->beforeWrite = [&] {
        if (++writes <= 3) {
            std::ofstream(path, std::ios::app) << std::string(300000, 'y');
        }
    };
    EXPECT_EQ(succeed("import " + path + " /f"), "imported 0 folders, 1 file, 900001 bytes\n");
    EXPECT_EQ(succeed("check"), "check: 0 folders, 1 file, 900001 bytes: equal\n");
}

TEST_F(BadDiskTest, ImportsAFileThatShrinksMeanwhile) {
    const std::string path = disk_.write("f", std::string(mebibyte, 'x'));
    once("write", [&] { fs::resize_file(path, 300000); });
    EXPECT_EQ(succeed("import " + path + " /f"), "imported 0 folders, 1 file, 300000 bytes\n");
    EXPECT_EQ(succeed("check"), "check: 0 folders, 1 file, 300000 bytes: equal\n");
}

TEST_F(BadDiskTest, ReportsEntriesThatChangeDuringACheck) {
    for (const char* name : {"a", "b", "c/f", "d/f"}) {
        disk_.write(std::string("src/") + name, "x");
    }
    succeed("import " + disk_ / "src" + " /n");
    once("read", [&] {
        fs::remove(disk_ / "src/b");
        fs::remove_all(disk_ / "src/c");
        fs::remove_all(disk_ / "src/d");
        disk_.write("src/d", "a file now");
    });
    EXPECT_EQ(fail("check"), line("check: " + disk_ / "src/b" + ": No such file or directory") +
                                 line("check: " + disk_ / "src/c" + ": No such file or directory") +
                                 line("check: " + disk_ / "src/d" + ": Not a directory"));
    EXPECT_EQ(output(), "check: 1 folder, 1 file, 1 byte: 3 differences\n");
}

TEST_F(BadDiskTest, ReportsAFolderRemovedDuringAnExport) {
    succeed("mkdir -p /a/s");
    succeed("write /a/f new");
    once("read", [&] { fs::remove_all(disk_ / "a"); });
    EXPECT_EQ(fail("export /a " + disk_.path()),
              line("export: " + disk_ / "a/f" + ": No such file or directory") +
                  line("export: " + disk_ / "a/s" + ": No such file or directory") +
                  line("export: " + disk_ / "a" + ": No such file or directory"));
    EXPECT_EQ(namesIn(disk_.path()), "");
}

TEST_F(BadDiskTest, KeepsWhatReplacesATargetDuringAnExport) {
    succeed("mkdir /a");
    succeed("write /a/f new");
    once("read", [&] { disk_.write("a/f/precious", "x"); });
    EXPECT_EQ(fail("export /a " + disk_.path()),
              line("export: " + disk_ / "a/f" + ": a folder is in the way"));
    EXPECT_EQ(namesIn(disk_ / "a"), "f");
    EXPECT_EQ(namesIn(disk_ / "a/f"), "precious");

    fs::remove_all(disk_ / "a/f");
    const std::string precious = disk_.write("precious", "x");
    once("read", [&] { fs::create_symlink(precious, disk_ / "a/f"); });
    EXPECT_EQ(fail("export /a " + disk_.path()),
              line("export: " + disk_ / "a/f" + ": a symbolic link is in the way"));
    EXPECT_EQ(readFile(precious), "x");
    EXPECT_EQ(fs::read_symlink(disk_ / "a/f"), precious);
    EXPECT_EQ(namesIn(disk_ / "a"), "f") << "a temporary file stays";
}

TEST_F(BadDiskTest, KeepsWhatAppearsInANewFolderDuringAnExport) {
    succeed("mkdir /a");
    succeed("write /a/f new");
    once("read", [&] { makeFifo(disk_ / "a/f"); });
    EXPECT_EQ(fail("export /a " + disk_.path()), line("export: " + disk_ / "a/f" + ": a fifo is in the way"));
    EXPECT_TRUE(fs::is_fifo(disk_ / "a/f"));
    EXPECT_EQ(namesIn(disk_ / "a"), "f") << "a temporary file stays";

    fs::remove_all(disk_ / "a");
    once("read",
         [&] { fs::permissions(disk_.write("a/f", "old"), fs::perms::owner_read | fs::perms::owner_write); });
    succeed("export /a " + disk_.path());
    EXPECT_EQ(readFile(disk_ / "a/f"), "new\n");
    EXPECT_EQ(fs::status(disk_ / "a/f").permissions(), fs::perms::owner_read | fs::perms::owner_write)
        << "a replaced file keeps its permissions";
}

// --- Systems where a file cannot be named by its descriptor ---

/// Makes system calls fail in the calling thread until it ends.
/// @return whether the kernel supports it
bool refuseSystemCalls(const std::vector<std::pair<long, int>>& errorOfCall) {
    std::vector<sock_filter> filter{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const auto& [call, error] : errorOfCall) {
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call), 0, 1));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<unsigned>(error)));
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

TEST_F(BadDiskTest, WritesOneFileTwiceIfItCannotBeNamed) {
    for (const char* name : {"a", "b", "c"}) {
        const std::string file = disk_.write(std::string("src/") + name, "content");
        if (::setxattr(file.c_str(), "user.x", "1", 1, 0) != 0) {
            GTEST_SKIP() << "the file system has no extended attributes";
        }
    }
    succeed("import " + disk_ / "src" + " /a");
    int opened = 0;
    provider_->before = [&](const std::string& called, const StorageIRI&) {
        opened += called == "openReadOnlyStream" ? 1 : 0;
    };
    bool isRefused = false;
    std::thread([&] {
        isRefused = refuseSystemCalls({{SYS_linkat, EPERM}, {SYS_fsetxattr, ENOTSUP}});
        EXPECT_EQ(run("export /a " + disk_ / "out"), ExitStatus::Success);
    }).join();
    if (!isRefused) {
        GTEST_SKIP() << "the kernel has no seccomp filters";
    }
    EXPECT_EQ(opened, 4) << "the first file twice";
    EXPECT_EQ(errors(), line("export: " + disk_ / "out" +
                             ": cannot preserve 3 extended attributes: not permitted or not supported"));
    EXPECT_EQ(namesIn(disk_ / "out"), "a b c");
}

// --- Folders exchanged with a symbolic link ---

void exchange(const std::string& one, const std::string& other) {
    if (::renameat2(AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE) != 0) {
        throw std::runtime_error(one + " cannot be exchanged");
    }
}

/// Returns a process that exchanges two entries of the disk repeatedly until it is destroyed.
host::ChildProcess exchanging(const std::string& one, const std::string& other) {
    return host::ChildProcess([&] {
        for (;;) {
            exchange(one, other);
        }
    });
}

class ExchangedFolderTest : public BadDiskTest {
protected:
    static constexpr int rounds = 300;

    ExchangedFolderTest() {
        disk_.write("src/d/f", "inside");
        disk_.write("outside/f", "secret");
        fs::create_symlink(disk_ / "outside", disk_ / "link");
    }
};

TEST_F(ExchangedFolderTest, KeepsAnImportInTheTree) {
    onceAt("createFolder", u"/n/d", [&] { exchange(disk_ / "src/d", disk_ / "link"); });
    succeed("import " + disk_ / "src" + " /n");
    EXPECT_EQ(succeed("cat /n/d/f"), "inside");
}

TEST_F(ExchangedFolderTest, KeepsAnExportInTheTree) {
    succeed("mkdir -p /a/s");
    succeed("write /a/s/g new");
    onceAt("listAll", u"/a/s", [&] { exchange(disk_ / "a/s", disk_ / "link"); });
    succeed("export /a " + disk_.path());
    EXPECT_EQ(namesIn(disk_ / "outside"), "f");
    EXPECT_EQ(readFile(disk_ / "outside/f"), "secret");
    EXPECT_EQ(namesIn(disk_ / "link"), "g");
}

TEST_F(ExchangedFolderTest, KeepsImportsInTheTreeDuringExchanges) {
    const auto exchanger = exchanging(disk_ / "src/d", disk_ / "link");
    int imported = 0;
    for (int round = 0; round < rounds; ++round) {
        run("import " + disk_ / "src" + " /n");
        if (run("cat /n/d/f") == ExitStatus::Success) {
            ASSERT_EQ(output(), "inside") << "round " << round;
            ++imported;
        }
        succeed("rm -rf /n");
    }
    EXPECT_GT(imported, 0);
}

TEST_F(ExchangedFolderTest, KeepsExportsInTheTreeDuringExchanges) {
    succeed("mkdir -p /src/d");
    succeed("write /src/d/g new");
    const auto exchanger = exchanging(disk_ / "src/d", disk_ / "link");
    int exported = 0;
    for (int round = 0; round < rounds; ++round) {
        exported += run("export /src " + disk_.path()) == ExitStatus::Success ? 1 : 0;
        ASSERT_EQ(namesIn(disk_ / "outside"), "f") << "round " << round;
    }
    EXPECT_GT(exported, 0);
}

// --- Temporary files ---

class TemporaryNameTest : public BadDiskTest {
protected:
    /// Returns the temporary name of a file during its export to `name`.
    std::string temporaryNameOf(const std::string& name) {
        disk_.makeFolder("watched");
        succeed("write /watched x");
        std::string seen;
        provider_->beforeRead = [&] { seen = namesIn(disk_ / "watched"); };
        succeed("export /watched " + disk_ / "watched/" + name);
        provider_->beforeRead = [] {};
        return seen;
    }

    static std::string numbered(std::string name, char number) {
        name[name.rfind("-0.part") + 1] = number;
        return name;
    }
};

TEST_F(TemporaryNameTest, KeepsFilesInUseAndForeignNames) {
    const std::string name = temporaryNameOf("f");
    ASSERT_THAT(name, MatchesRegex(R"(\.qzstorage-[0-9a-f]+-0\.part)"));
    const FileDescriptor used(disk_.write("out/" + name, "in use"), O_RDONLY);
    ASSERT_EQ(::flock(used.number(), LOCK_EX), 0);
    disk_.makeFolder("out/" + numbered(name, '1'));
    disk_.write("out/.qzstorage-0-0.part", "of another form");
    disk_.write("out/f", "replaced");
    fs::create_symlink("nowhere", disk_ / ("out/" + numbered(name, '2'))); // an unfinished link
    succeed("mkdir /out");
    succeed("write /out/f new");
    succeed("export /out " + disk_.path());
    EXPECT_EQ(readFile(disk_ / "out/f"), "new\n");
    EXPECT_EQ(readFile(disk_ / ("out/" + name)), "in use");
    EXPECT_EQ(namesIn(disk_ / "out"), ".qzstorage-0-0.part " + name + " " + numbered(name, '1') + " f");
}

TEST_F(TemporaryNameTest, RemovesFilesOfAKilledExport) {
    disk_.write("a/bad", "old");
    const std::string lines =
        "mkdir -p /a/s\nwrite /a/s/bad new\nwrite /a/bad new\nexport /a " + disk_.path() + "\n";
    const ProgramRun killed({"--plugin", badPlugin, "shell"}, lines,
                            [] { ::setenv("BAD_PLUGIN", "read signal9", /*replace*/ 1); });
    EXPECT_EQ(killed.status(), -SIGKILL);
    EXPECT_THAT(namesIn(disk_ / "a"), HasSubstr(".part"));
    const ProgramRun next = runLines("mkdir -p /a/s\nwrite /a/s/other new\nexport /a " + disk_.path() + "\n");
    EXPECT_EQ(next.errors(), "");
    EXPECT_EQ(namesIn(disk_ / "a"), "bad s");
    EXPECT_EQ(readFile(disk_ / "a/bad"), "old");
    EXPECT_EQ(namesIn(disk_ / "a/s"), "other");
}

TEST_F(TemporaryNameTest, LeavesNothingOfANewFileOfAKilledExport) {
    const std::string lines = "mkdir /a\nwrite /a/bad new\nexport /a " + disk_.path() + "\n";
    const ProgramRun killed({"--plugin", badPlugin, "shell"}, lines,
                            [] { ::setenv("BAD_PLUGIN", "read signal9", /*replace*/ 1); });
    EXPECT_EQ(killed.status(), -SIGKILL);
    EXPECT_EQ(namesIn(disk_ / "a"), "");
}

TEST_F(TemporaryNameTest, ReusesTheTemporaryNameOfAKilledExport) {
    const std::string name = temporaryNameOf("f");
    disk_.write("out/" + name, "left behind");
    succeed("write /f new");
    succeed("export /f " + disk_ / "out");
    EXPECT_EQ(namesIn(disk_ / "out"), "f");
}

TEST_F(BadDiskTest, RunsTwoExportsIntoOneReadOnlyTree) {
    std::string lines;
    std::string chmod = "chmod -w";
    for (int folder = 0; folder < 30; ++folder) {
        const std::string path = "/a/" + std::to_string(folder);
        lines += "mkdir -p " + path + "\nwrite " + path + "/f x\nwrite " + path + "/g y\n";
        chmod += ' ' + path;
    }
    lines += chmod + " /a\nexport /a " + disk_.path() + "\n";
    for (int round = 0; round < 4; ++round) {
        const auto runSecond = [&](pid_t) {
            const ProgramRun second({"shell"}, lines, dropFilePrivileges);
            EXPECT_EQ(second.errors(), "");
        };
        const ProgramRun first({"shell"}, lines, dropFilePrivileges, runSecond);
        EXPECT_EQ(first.errors(), "");
    }
    for (int folder = 0; folder < 30; ++folder) {
        EXPECT_EQ(namesIn(disk_ / ("a/" + std::to_string(folder))), "f g");
        EXPECT_EQ(fs::status(disk_ / ("a/" + std::to_string(folder))).permissions() & fs::perms::owner_write,
                  fs::perms::none);
    }
}

// --- Interruption at every point ---

TEST_F(BadDiskTest, LeavesNothingHalfDoneAfterASignal) {
    prepareSweep();
    int points = 0;
    int stopped = 0;
    for (const std::string& command : commands()) {
        const std::string name = command.substr(0, command.find(' '));
        const int stoppedBefore = stopped;
        points += sweep(
            command, [] { std::raise(SIGINT); },
            [&](ExitStatus status, const std::string& messages, bool complete) {
                if (status == ExitStatus::Success) {
                    EXPECT_TRUE(complete);
                    EXPECT_EQ(messages, "");
                    return;
                }
                ++stopped;
                EXPECT_EQ(status, ExitStatus::Interrupted);
                EXPECT_EQ(messages, line(name + ": interrupted"));
            });
        EXPECT_GT(stopped, stoppedBefore) << command << " cannot be stopped";
        fs::remove_all(disk_ / "all");
    }
    std::cout << "signals: " << points << " points, " << stopped << " commands stopped, " << points - stopped
              << " had nothing left to do\n";
}

TEST_F(BadDiskTest, StopsALongFileAtTheNextBlockAfterASignal) {
    prepareSweep();
    for (const std::string& command :
         {"import " + disk_ / "src/big" + " /d", "export /a/big " + disk_ / "out",
          "check /a/big " + disk_ / "same/big", std::string("cat /a/big"), std::string("cp /a/big /d")}) {
        SCOPED_TRACE(command);
        restore();
        succeed("truncate -s 3M /a/big");
        fs::resize_file(disk_ / "src/big", 3 * mebibyte);
        fs::resize_file(disk_ / "same/big", 3 * mebibyte);
        int blocks = 0;
        provider_->before = [&](const std::string& operation, const StorageIRI&) {
            if ((operation == "read" || operation == "write") && ++blocks == 1) {
                std::raise(SIGINT);
            }
        };
        EXPECT_EQ(run(command), ExitStatus::Interrupted);
        EXPECT_LE(blocks, 2) << "blocks read or written";
        resetHooks();
    }
}

TEST_F(BadDiskTest, LeavesNothingHalfDoneAfterAFailure) {
    prepareSweep();
    int points = 0;
    for (const std::string& command : commands()) {
        const std::string name = command.substr(0, command.find(' '));
        points += sweep(
            command, [] { throw std::runtime_error("torn"); },
            [&](ExitStatus status, const std::string& messages, bool) {
                EXPECT_EQ(status, ExitStatus::Failure);
                EXPECT_THAT(messages, MatchesRegex("qzstorage: " + name + ": [/.][^\n]*: torn\n"));
            });
        fs::remove_all(disk_ / "all");
    }
    std::cout << "failures: " << points << " points\n";
}

// --- Signals to the program ---

/// A command and the signal that arrives during its operation at "/bad".
struct SignalCase {
    enum class End { Interrupted, Finished };

    std::string operation;
    std::string setup;
    std::string line;
    End end = End::Interrupted;
};

TEST_F(BadDiskTest, StopsInTheMiddleOfACommandWithStatus130) {
    disk_.write("src/f", std::string(mebibyte, 'x'));
    disk_.write("src/g", "x");
    const std::string makeFolder = "mkdir /bad\ntruncate -s 1M /bad/f\nwrite /bad/g x\n";
    const std::vector<SignalCase> commands{
        {"write", "", "import " + disk_ / "src" + " /bad"},
        {"read", makeFolder, "export /bad " + disk_ / "out"},
        {"read", "import " + disk_ / "src" + " /bad\n", "check"},
        {"read", makeFolder, "cat /bad/f"},
        {"listAll", makeFolder, "find /bad"},
        {"removeFile", makeFolder, "rm -r /bad"},
        {"read", makeFolder, "cp -r /bad /g"},
        {"moveFolder", makeFolder, "mv /bad /g", SignalCase::End::Finished},
    };
    int runs = 0;
    for (const SignalCase& command : commands) {
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
            SCOPED_TRACE(command.line + ", signal " + std::to_string(signal));
            const std::string misbehaviour = command.operation + " signal" + std::to_string(signal);
            const ProgramRun run({"--plugin", badPlugin, "shell", "--keep-going"},
                                 command.setup + command.line + "\nwrite /never reached\n",
                                 [&] { ::setenv("BAD_PLUGIN", misbehaviour.c_str(), /*replace*/ 1); });
            const std::string name = command.line.substr(0, command.line.find(' '));
            EXPECT_EQ(run.status(), 130);
            EXPECT_EQ(run.errors(),
                      command.end == SignalCase::End::Finished ? "" : line(name + ": interrupted"));
            EXPECT_THAT(namesIn(disk_.path()), AnyOf("src", "out src"));
            if (fs::exists(disk_ / "out")) {
                EXPECT_EQ(namesIn(disk_ / "out"), "");
                fs::remove_all(disk_ / "out");
            }
            ++runs;
        }
    }
    std::cout << "signals to the program: " << runs << " runs\n";
}

/// Sends SIGINT when the process sleeps in its wait. After its first output the process sleeps nowhere else,
/// so the signal arrives neither before the wait nor twice.
void interruptTheWait(pid_t process) {
    char state = 'R';
    while (state != 'S' && state != 'Z') {
        const std::string status = readFile("/proc/" + std::to_string(process) + "/stat");
        state = status[status.rfind(')') + 2];
        ::sched_yield();
    }
    ::kill(process, SIGINT);
}

class Pipe {
public:
    Pipe() { EXPECT_EQ(::pipe2(ends_, O_CLOEXEC), 0); }
    ~Pipe() {
        ::close(ends_[0]);
        ::close(ends_[1]);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int readEnd() const { return ends_[0]; }
    int writeEnd() const { return ends_[1]; }

    /// Waits for the first byte.
    void awaitOutput() const {
        char byte = 0;
        EXPECT_EQ(::read(readEnd(), &byte, 1), 1);
    }

private:
    int ends_[2] = {-1, -1};
};

TEST_F(BadDiskTest, InterruptsABlockedWrite) {
    const Pipe out;
    const ProgramRun run(
        {"shell"}, "truncate -s 1M /f\ncat /f\n", [&] { ::dup2(out.writeEnd(), STDOUT_FILENO); },
        [&](pid_t process) {
            out.awaitOutput();
            interruptTheWait(process);
        });
    EXPECT_EQ(run.status(), 130);
    EXPECT_EQ(run.errors(), line("cat: interrupted"));
}

TEST_F(BadDiskTest, InterruptsTheWaitForALine) {
    const Pipe in;
    const Pipe out;
    ASSERT_EQ(::write(in.writeEnd(), "pwd\n", 4), 4);
    const ProgramRun run(
        {"shell"}, "",
        [&] {
            ::dup2(in.readEnd(), STDIN_FILENO);
            ::dup2(out.writeEnd(), STDOUT_FILENO);
        },
        [&](pid_t process) {
            out.awaitOutput();
            interruptTheWait(process);
        });
    EXPECT_EQ(run.status(), 130);
    EXPECT_EQ(run.errors(), "");
}

TEST_F(BadDiskTest, InterruptsTheWaitForAScript) {
    const std::string fifo = disk_ / "fifo";
    makeFifo(fifo);
    const Pipe out;
    const ProgramRun run(
        {"--plugin", badPlugin, "run", fifo}, "",
        [&] {
            ::setenv("BAD_PLUGIN", "entry announce", /*replace*/ 1);
            ::dup2(out.writeEnd(), STDOUT_FILENO);
        },
        [&](pid_t process) {
            out.awaitOutput();
            interruptTheWait(process);
        });
    EXPECT_EQ(run.status(), 130);
    EXPECT_EQ(run.errors(), line("interrupted"));
}

// --- Scripts ---

TEST_F(BadDiskTest, ReportsTheLineOfAnUnbalancedQuote) {
    for (const auto& [text, reason] : std::map<std::string, std::string>{
             {"write /f 'x", "a single quote is not closed"},
             {"write /f \"x", "a double quote is not closed"},
             {"write /f \"x\\\"", "a double quote is not closed"},
             {"write /f it's", "a single quote is not closed"},
             {"write /f x\\", "trailing backslash"},
             {"'" + std::string(mebibyte, 'x'), "a single quote is not closed"}}) {
        const ProgramRun stopping({"shell"}, "touch /ok\n" + text + "\nls\n");
        EXPECT_EQ(stopping.errors(), line("line 2: " + reason));
        EXPECT_EQ(stopping.output(), "");
        EXPECT_EQ(stopping.status(), 2);
        const ProgramRun goingOn = runLines("touch /ok\n" + text + "\nls\n");
        EXPECT_EQ(goingOn.errors(), line("line 2: " + reason));
        EXPECT_EQ(goingOn.output(), "ok\n");
        EXPECT_EQ(goingOn.status(), 1);
    }
}

TEST_F(BadDiskTest, AcceptsALineOfOneMebibyte) {
    const std::string text(mebibyte, 'x');
    const ProgramRun run({"shell"},
                         "# " + text + "\nwrite /f " + text + "\nwrite /g '" + text + "'\ncat /f /g\n");
    EXPECT_EQ(run.output(), text + '\n' + text + '\n');
    EXPECT_EQ(run.errors(), "");
    EXPECT_EQ(run.status(), 0);
}

TEST_F(BadDiskTest, ShortensMessagesAboutLongWords) {
    const std::string text(mebibyte, 'x');
    std::string deep;
    while (deep.size() < mebibyte) {
        deep += "/y";
    }
    const std::string shortened = R"((x|/x|/y)*\.\.\.\([0-9]+ bytes left out\)\.\.\.(x|/y)*)";
    for (const auto& [command, reason] : std::map<std::string, std::string>{
             {text, "line 1: " + shortened + R"(: unknown command \(try 'help'\))"},
             {"ls /" + text, "ls: " + shortened + ": no such file or folder"},
             {"ls " + deep, "ls: " + shortened + ": no such file or folder"},
             {"touch " + deep, "touch: " + shortened + ": folder /y does not exist"},
             {"cd a b" + text, "cd: extra operand 'b?" + shortened + "'"},
             {"ls -" + text, "ls: " + std::string("unknown option '-") + shortened + "'"},
             {"import /" + text + " /x", "import: " + shortened + ": File name too long"},
             {"write /f/" + text + "\nwrite /f x\nls /f/" + text, ".*"}}) {
        const ProgramRun run = runLines(command + '\n');
        EXPECT_EQ(run.status(), 1);
        EXPECT_LT(run.errors().size(), 6000U) << command.substr(0, 10);
        EXPECT_THAT(run.errors().substr(0, 5500), MatchesRegex("(qzstorage: " + reason + "\n)+"));
    }
}

TEST_F(BadDiskTest, AcceptsNulBytes) {
    const ProgramRun run =
        runLines(std::string("write /a\0b x\0y\ncat /a\0b\n\0\nls\0 /\nimport /tmp\0 /x\n", 48));
    EXPECT_EQ(run.output(), std::string("x\0y\nimported 0 folders, 0 files, 0 bytes\n", 41));
    EXPECT_EQ(run.errors(), line("line 3: \\x00: unknown command (try 'help')") +
                                line("line 4: ls\\x00: unknown command (try 'help')") +
                                line("import: /tmp\\x00: a path on disk cannot contain NUL"));
}

TEST_F(BadDiskTest, RunsAScriptWithByteOrderMarkAndCarriageReturns) {
    const std::string script =
        disk_.write("script", "\xEF\xBB\xBF"
                              "# made elsewhere\r\nwrite /f 'a  b'\r\n\r\ncat /f\r\nls -l\r\n");
    const ProgramRun run({"run", script});
    EXPECT_EQ(run.errors(), "");
    EXPECT_THAT(run.output(), MatchesRegex("a  b\n-rw 5 [-0-9]+ [:0-9]+ f\n"));
    EXPECT_EQ(run.status(), 0);
    const ProgramRun piped({"shell"}, "\xEF\xBB\xBFpwd\r\n");
    EXPECT_EQ(piped.output() + piped.errors(), "/\n");
}

TEST_F(BadDiskTest, ReportsAnUnreadableScript) {
    fs::create_symlink("loop", disk_ / "loop");
    for (const auto& [path, reason] :
         std::map<std::string, std::string>{{disk_ / "none", "No such file or directory"},
                                            {disk_.path(), "Is a directory"},
                                            {disk_ / "loop", "Too many levels of symbolic links"}}) {
        const ProgramRun run({"run", path});
        EXPECT_EQ(run.errors(), line(path + ": " + reason));
        EXPECT_EQ(run.status(), 1);
    }
    const std::string locked = disk_.write("locked", "pwd\n");
    fs::permissions(locked, fs::perms::none);
    const ProgramRun run({"run", locked}, "", dropFilePrivileges);
    EXPECT_EQ(run.errors(), line(locked + ": Permission denied"));
    EXPECT_EQ(run.status(), 1);
}

// --- Standard streams ---

TEST_F(BadDiskTest, ReportsUnreadableStandardInput) {
    const ProgramRun closed({"shell"}, "", [] { ::close(STDIN_FILENO); });
    EXPECT_EQ(closed.errors(), line("standard input: Bad file descriptor"));
    EXPECT_EQ(closed.status(), 1);
    const ProgramRun folder({"shell"}, "", [] { ::dup2(::open("/", O_RDONLY), STDIN_FILENO); });
    EXPECT_EQ(folder.errors(), line("standard input: Is a directory"));
    EXPECT_EQ(folder.status(), 1);
}

TEST_F(BadDiskTest, ReportsAClosedOutputAndWritesToNoOtherFile) {
    const std::string lines = "write /f content\nexport /f " + disk_ / "f" + "\n";
    const ProgramRun run({"shell"}, lines, [] { ::close(STDOUT_FILENO); });
    EXPECT_EQ(run.errors(), line("standard output: Bad file descriptor"));
    EXPECT_EQ(run.status(), 1);
    EXPECT_EQ(readFile(disk_ / "f"), "content\n");
}

TEST_F(BadDiskTest, ReportsAFullOutputInEveryCommand) {
    const std::string source = disk_.write("src/f", std::string(mebibyte, 'x'));
    for (const std::string command :
         {"help", "cat /f", "find", "ls -l", "tree", "du", "stat /f", "pwd", "check"}) {
        const ProgramRun run({"shell"}, "import " + source + " /f\n" + command + "\n",
                             [] { ::dup2(::open("/dev/full", O_WRONLY), STDOUT_FILENO); });
        EXPECT_EQ(run.errors(), line("standard output: No space left on device"));
        EXPECT_EQ(run.status(), 1);
    }
}

TEST_F(BadDiskTest, EndsSilentlyIfTheReaderClosesThePipe) {
    for (const std::string command : {"help", "cat /f"}) {
        const ProgramRun run({"shell"}, "truncate -s 1M /f\n" + command + "\nwrite /f x\n", [] {
            int ends[2];
            if (::pipe(ends) == 0) {
                ::dup2(ends[1], STDOUT_FILENO);
                ::close(ends[0]);
            }
        });
        EXPECT_EQ(run.errors(), "");
        EXPECT_EQ(run.status(), 1);
    }
}

TEST_F(BadDiskTest, KeepsTheStatusWithAClosedErrorStream) {
    const ProgramRun run({"shell", "--keep-going"}, "ls /x\nexport / " + disk_ / "out" + "\npwd\n",
                         [] { ::close(STDERR_FILENO); });
    EXPECT_EQ(run.output(), "exported 1 folder, 0 files, 0 bytes\n/\n");
    EXPECT_EQ(run.status(), 1);
}

} // namespace

} // namespace storage::tests
