#include "tests/host/mount/MountingTest.h"
#include "tests/support/TreeContents.h"
#include "tests/support/Unprivileged.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace storage::tests {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::MatchesRegex;

TEST_F(MountProgramTest, RefusesTargetsBelowTheMountPoint) {
    fs::create_directory_symlink(mountPoint_, disk_ / "link");
    for (const std::string& folder : {mountPoint_, inside("out"), disk_ / "link/out"}) {
        for (const std::string option : {"--export-on-exit", "--rescue"}) {
            const ProgramRun run({"mount", option, folder, mountPoint_});
            EXPECT_EQ(run.status(), 1);
            EXPECT_EQ(run.errors(), "qzstorage: mount: " + folder +
                                        ": the mount would hide it; choose a folder outside " + mountPoint_ +
                                        "\n");
        }
    }
}

TEST_F(MountProgramTest, ReportsWrongUsageInOneLineWithStatusTwo) {
    for (const Words& words : {Words{"mount"},
                               {"mount", ""},
                               {"mount", mountPoint_, "another"},
                               {"mount", mountPoint_, "--threads", "0"},
                               {"mount", mountPoint_, "--import"},
                               {"mount", mountPoint_, "--frobnicate"}}) {
        const ProgramRun run(words);
        EXPECT_EQ(run.status(), 2);
        EXPECT_THAT(run.errors(), MatchesRegex("qzstorage: [^\n]* \\(try 'qzstorage mount --help'\\)\n"));
        EXPECT_EQ(run.output(), "");
        EXPECT_FALSE(isMounted());
    }
}

TEST_F(MountProgramTest, ReportsEachFailureInOneLine) {
    const std::string file = disk_.write("file", "content");
    const std::string folder = disk_.makeFolder("folder");
    const std::string closed = disk_.makeFolder("closed");
    fs::permissions(closed, fs::perms::owner_read | fs::perms::owner_exec);
    struct Case {
        Words words;
        std::string reason;
    };
    for (const auto& [words, reason] : std::vector<Case>{
             {{"mount", disk_ / "missing"}, "missing: no such folder; create it first"},
             {{"mount", file}, "file: not a folder; a mount point must be a folder"},
             {{"mount", file + "/below"}, "file/below: "},
             {{"--plugin", disk_ / "none.so", "mount", mountPoint_}, "none.so: "},
             {{"--plugin", file, "mount", mountPoint_}, "file: "},
             {{"--plugin", std::string(TEST_BAD_PLUGINS) + "/libNoEntryPoint.so", "mount", mountPoint_},
              "libNoEntryPoint.so"},
             {{"mount", mountPoint_, "--import", disk_ / "missing"}, "missing: "},
             {{"mount", mountPoint_, "--import", file}, "file: not a folder; choose a folder to import"},
             {{"mount", mountPoint_, "--export-on-exit", file}, "file: not a folder; "},
             {{"mount", mountPoint_, "--export-on-exit", disk_ / "missing/out"}, "missing: "},
             {{"mount", mountPoint_, "--export-on-exit", closed + "/out"}, "closed: "},
             {{"mount", mountPoint_, "--export-on-exit", closed}, "closed: "},
             {{"mount", mountPoint_, "--export-on-exit", folder, "--rescue", file}, "file: not a folder; "},
             {{"mount", mountPoint_, "--export-on-exit", folder, "--rescue", file + "/x"},
              "file: not a folder; "},
             {{"mount", mountPoint_, "--export-on-exit", folder, "--rescue", closed + "/x/y"}, "closed: "}}) {
        for (const bool inBackground : {false, true}) {
            Words all = words;
            if (inBackground) {
                all.emplace_back("--background");
            }
            const ProgramRun run(all, "", [] {
                dropFilePrivileges();
                limitTime();
            });
            EXPECT_EQ(run.status(), 1) << reason;
            EXPECT_THAT(run.errors(), MatchesRegex("qzstorage: mount: [^\n]*\n")) << reason;
            EXPECT_THAT(run.errors(), HasSubstr(reason));
            EXPECT_EQ(run.output(), "") << reason;
            EXPECT_FALSE(isMounted()) << reason;
        }
    }
    EXPECT_EQ(namesIn(disk_.path()), "closed file folder mount") << "nothing was created";
}

TEST_F(MountingTest, ServesAnOrdinaryFolderUntilASignal) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const ProgramRun run = runMounted({}, [&](pid_t process) {
            write(inside("f"), "content");
            fs::create_directories(inside("d/s"));
            fs::rename(inside("f"), inside("d/s/g"));
            EXPECT_EQ(readFile(inside("d/s/g")), "content");
            ::kill(process, signal);
        });
        expectSuccess(run);
        EXPECT_EQ(announcement_, "mounted at " + mountPoint_ + "; Ctrl-C or 'qzstorage unmount' ends it\n");
        EXPECT_FALSE(isMounted()) << signal;
        EXPECT_EQ(namesIn(mountPoint_), "");
    }
}

TEST_F(MountingTest, EndsAfterFusermount) {
    const ProgramRun run = runMounted({"--threads", "1"}, [&](pid_t) {
        write(inside("f"), "content");
        EXPECT_EQ(readFile(inside("f")), "content");
        EXPECT_TRUE(unmount());
    });
    expectSuccess(run);
    EXPECT_FALSE(isMounted());
}

TEST_F(MountingTest, IsReadyWhenTheBackgroundCommandReturns) {
    ASSERT_EQ(::prctl(PR_SET_CHILD_SUBREAPER, 1), 0); // to wait for processes in the background
    const std::string out = disk_ / "out";
    const ProgramRun run({"mount", "--background", mountPoint_, "--export-on-exit", out});
    expectSuccess(run);
    EXPECT_EQ(run.output(), "");
    EXPECT_TRUE(isMounted());
    write(inside("f"), "content");
    EXPECT_EQ(readFile(inside("f")), "content");
    EXPECT_TRUE(unmount());
    int state = -1;
    ::waitpid(-1, &state, 0);
    ::prctl(PR_SET_CHILD_SUBREAPER, 0);
    EXPECT_EQ(state, 0);
    EXPECT_FALSE(isMounted());
    EXPECT_EQ(readFile(out + "/f"), "content");
}

TEST_F(MountingTest, ExportsTheWritesToAnOpenFile) {
    const std::string out = disk_ / "out";
    const std::string content(3'000'000, 'x');
    int file = -1;
    const ProgramRun run = runMounted({"--export-on-exit", out}, [&](pid_t process) {
        file = ::open(inside("f").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        EXPECT_EQ(::write(file, content.data(), content.size()), static_cast<ssize_t>(content.size()));
        ::kill(process, SIGINT);
    });
    ::close(file);
    expectSuccess(run);
    EXPECT_FALSE(isMounted());
    EXPECT_TRUE(readFile(out + "/f") == content);
}

TEST_F(MountingTest, ExportsATruncatedFileWithoutSlack) {
    const std::string out = disk_ / "out";
    const ProgramRun run = runMounted({"--export-on-exit", out}, [&](pid_t process) {
        write(inside("f"), std::string(100, 'x'));
        fs::resize_file(inside("f"), 60);
        ::kill(process, SIGTERM);
    });
    expectSuccess(run);
    EXPECT_EQ(readFile(out + "/f"), std::string(60, 'x'));
}

TEST_F(MountingTest, TruncatesAFileThatIsOpenedWithTruncation) {
    const std::string exported = disk_.path() + "/exported";
    expectSuccess(runMounted({"--export-on-exit", exported}, [&](pid_t) {
        write(inside("f"), std::string(1000, 'x'));
        write(inside("f"), "short");
        EXPECT_TRUE(unmount());
    }));
    EXPECT_EQ(fs::file_size(exported + "/f"), 5U);
}

TEST_F(MountingTest, KeepsExecutePermissionsOnImportAndExport) {
    const std::string source = disk_.makeFolder("source");
    const std::string exported = disk_.path() + "/exported";
    write(source + "/program", "#!/bin/sh\n");
    write(source + "/text", "text");
    fs::permissions(source + "/program", fs::perms::owner_exec, fs::perm_options::add);
    expectSuccess(runMounted({"--import", source, "--export-on-exit", exported}, [&](pid_t) {
        EXPECT_EQ(::access(inside("program").c_str(), X_OK), 0);
        EXPECT_NE(::access(inside("text").c_str(), X_OK), 0);
        write(inside("built"), "#!/bin/sh\n");
        fs::permissions(inside("built"), fs::perms::owner_exec, fs::perm_options::add);
        EXPECT_TRUE(unmount());
    }));
    for (const char* name : {"/program", "/built"}) {
        EXPECT_EQ(::access((exported + name).c_str(), X_OK), 0) << name;
    }
    EXPECT_NE(::access((exported + "/text").c_str(), X_OK), 0);
}

TEST_F(MountingTest, KeepsPermissionsOnImportAndExport) {
    const std::string source = disk_.makeFolder("source");
    const std::string exported = disk_ / "exported";
    disk_.write("source/private/secret", "s");
    disk_.write("source/shared", "x");
    fs::permissions(source + "/private/secret", fs::perms(0600));
    fs::permissions(source + "/private", fs::perms(0700));
    fs::permissions(source + "/shared", fs::perms(0664));
    const auto modeOf = [](const std::string& path) {
        return static_cast<unsigned>(fs::status(path).permissions());
    };
    expectSuccess(runMounted({"--import", source, "--export-on-exit", exported}, [&](pid_t) {
        EXPECT_EQ(modeOf(inside("private/secret")), 0600U);
        EXPECT_EQ(modeOf(inside("private")), 0700U);
        EXPECT_EQ(modeOf(inside("shared")), 0664U);
        write(inside("new"), "n");
        fs::permissions(inside("new"), fs::perms(0640));
        fs::create_directory(inside("closed"));
        fs::permissions(inside("closed"), fs::perms(0700));
        fs::rename(inside("private"), inside("moved"));
        EXPECT_TRUE(unmount());
    }));
    EXPECT_EQ(modeOf(exported + "/moved/secret"), 0600U);
    EXPECT_EQ(modeOf(exported + "/moved"), 0700U);
    EXPECT_EQ(modeOf(exported + "/shared"), 0664U);
    EXPECT_EQ(modeOf(exported + "/new"), 0640U);
    EXPECT_EQ(modeOf(exported + "/closed"), 0700U);
}

TEST_F(MountingTest, RefusesToCoverAnotherMount) {
    expectSuccess(runMounted({}, [&](pid_t) {
        const ProgramRun second({"mount", mountPoint_});
        EXPECT_EQ(second.status(), 1);
        EXPECT_THAT(second.errors(), MatchesRegex("qzstorage: mount: [^\n]*already a mount point[^\n]*\n"));
        EXPECT_TRUE(unmount());
    }));
    EXPECT_FALSE(isMounted());
}

TEST_F(MountingTest, RefusesToCoverAStaleMount) {
    const ProgramRun run = runMounted({}, [&](pid_t process) {
        ::kill(process, SIGKILL);
        ::waitid(P_PID, static_cast<id_t>(process), nullptr, WEXITED | WNOWAIT);
        const ProgramRun second({"mount", mountPoint_}, "", limitTime);
        EXPECT_EQ(second.status(), 1);
        EXPECT_THAT(second.errors(), HasSubstr("a stale mount: its server has exited"));
        EXPECT_TRUE(unmount());
        EXPECT_FALSE(isMounted()) << "another mount covers the stale one";
    });
    EXPECT_EQ(run.status(), -SIGKILL);
}

/// The kernel reuses the device number of a mount as soon as it is free.
TEST_F(MountingTest, RemovesNoMountOfOthersAtItsEnd) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root may mount a tmpfs";
    }
    constexpr int count = 8; // in case another test gets the number meanwhile
    const ProgramRun run = runMounted({}, [&](pid_t process) {
        stop(process);
        EXPECT_TRUE(unmount());
        for (int i = 0; i < count; ++i) {
            const std::string other = disk_.makeFolder("other" + std::to_string(i));
            EXPECT_EQ(::mount("none", other.c_str(), "tmpfs", 0, nullptr), 0);
        }
        ::kill(process, SIGCONT);
    });
    expectSuccess(run);
    for (int i = 0; i < count; ++i) {
        const std::string other = disk_ / ("other" + std::to_string(i));
        EXPECT_EQ(::umount(other.c_str()), 0) << other << " is not mounted any more";
    }
}

TEST_F(MountingTest, RoundTripsATree) {
    disk_.write("in/d/s/f", std::string(100'000, 'x'));
    disk_.write("in/ä😀", "name");
    disk_.write("in/fixed", "read-only");
    disk_.makeFolder("in/empty");
    fs::permissions(disk_ / "in/fixed", fs::perms::owner_read);
    const fs::file_time_type time = fs::file_time_type::clock::now() - std::chrono::hours(5000);
    fs::last_write_time(disk_ / "in/d/s/f", time);
    const std::string out = disk_ / "out";
    const ProgramRun run =
        runMounted({"--import", disk_ / "in", "--export-on-exit", out}, [&](pid_t process) {
            EXPECT_EQ(contentsOf(mountPoint_), contentsOf(disk_ / "in"));
            fs::rename(inside("d"), inside("moved"));
            fs::rename(inside("moved"), inside("d"));
            ::kill(process, SIGTERM);
        });
    expectSuccess(run);
    EXPECT_THAT(announcement_, HasSubstr("imported "));
    EXPECT_EQ(contentsOf(out), contentsOf(disk_ / "in"));
    EXPECT_EQ(fs::status(out + "/fixed").permissions() & fs::perms::owner_write, fs::perms::none);
    EXPECT_LE(std::chrono::abs(fs::last_write_time(out + "/d/s/f") - time), std::chrono::microseconds(1));
}

TEST_F(MountingTest, RefusesAllChangesIfReadOnly) {
    disk_.write("in/f", "content");
    const ProgramRun run = runMounted({"--read-only", "--import", disk_ / "in"}, [&](pid_t process) {
        EXPECT_EQ(readFile(inside("f")), "content");
        EXPECT_EQ(::open(inside("g").c_str(), O_WRONLY | O_CREAT, 0600), -1);
        EXPECT_EQ(errno, EROFS);
        EXPECT_EQ(::unlink(inside("f").c_str()), -1);
        EXPECT_EQ(errno, EROFS);
        EXPECT_EQ(::mkdir(inside("d").c_str(), 0700), -1);
        EXPECT_EQ(errno, EROFS);
        EXPECT_EQ(::truncate(inside("f").c_str(), 0), -1);
        EXPECT_EQ(errno, EROFS);
        ::kill(process, SIGINT);
    });
    expectSuccess(run);
}

TEST_F(MountingTest, ReportsWhatTheStorageDidNotKeep) {
    const Words plugin{"--plugin", std::string(TEST_BAD_PLUGINS) + "/libBadProvider.so"};
    const auto make = [&](pid_t) {
        write(inside("f"), "content");
        fs::permissions(inside("f"), fs::perms(0600));
        fs::create_symlink("f", inside("link"));
        fs::create_hard_link(inside("f"), inside("second"));
        EXPECT_TRUE(unmount());
    };
    EXPECT_EQ(runMounted({}, make).errors(), "") << "a volatile storage";
    ::setenv("BAD_PLUGIN", "hasFeature lasting", 1);
    EXPECT_EQ(runMounted(plugin, make).errors(),
              "qzstorage: mount: " + mountPoint_ + ": 2 links and 1 mode were not kept by the storage\n");
    Words exporting = plugin;
    exporting.insert(exporting.end(), {"--export-on-exit", disk_ / "out"});
    EXPECT_EQ(runMounted(exporting, make).errors(), "");
    ::unsetenv("BAD_PLUGIN");
    EXPECT_EQ(fs::read_symlink(disk_ / "out/link"), "f");
    EXPECT_TRUE(fs::equivalent(disk_ / "out/f", disk_ / "out/second"));
}

TEST_F(MountingTest, UnmountReportsWhatTheStorageDidNotKeep) {
    const Words plugin{"--plugin", std::string(TEST_BAD_PLUGINS) + "/libBadProvider.so"};
    ::setenv("BAD_PLUGIN", "hasFeature lasting", 1);
    runMounted(plugin, [&](pid_t) {
        fs::create_symlink("f", inside("link"));
        const ProgramRun unmounting({"unmount", mountPoint_});
        EXPECT_EQ(unmounting.status(), 0);
        EXPECT_EQ(unmounting.errors(),
                  "qzstorage: unmount: " + mountPoint_ + ": 1 link was not kept by the storage\n");
    });
    ::unsetenv("BAD_PLUGIN");
}

TEST_F(MountingTest, MountsTwoStoragesAtOnce) {
    const std::string other = disk_.makeFolder("other");
    const ProgramRun run = runMounted({}, [&](pid_t process) {
        write(inside("f"), "content");
        ASSERT_EQ(ProgramRun({"mount", "--background", other}).status(), 0);
        EXPECT_EQ(namesIn(other), "");
        write(other + "/g", "another");
        EXPECT_EQ(namesIn(mountPoint_), "f");
        EXPECT_TRUE(runs("fusermount3 -u " + other));
        ::kill(process, SIGINT);
    });
    expectSuccess(run);
}

} // namespace

} // namespace storage::tests
