#include "host/disk/FileDescriptor.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/host/BadDiskTest.h"
#include "tests/support/Unprivileged.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <string>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
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
using testing::HasSubstr;
using testing::MatchesRegex;

/// Tests two exports at the same time, and systems where a file cannot be named by its descriptor.
using BadDiskExportTest = BadDiskTest;

// --- Temporary files ---

class BadDiskTemporaryNameTest : public BadDiskTest {
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

TEST_F(BadDiskTemporaryNameTest, KeepsFilesInUseAndForeignNames) {
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

TEST_F(BadDiskTemporaryNameTest, RemovesFilesOfAKilledExport) {
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

TEST_F(BadDiskTemporaryNameTest, LeavesNothingOfANewFileOfAKilledExport) {
    const std::string lines = "mkdir /a\nwrite /a/bad new\nexport /a " + disk_.path() + "\n";
    const ProgramRun killed({"--plugin", badPlugin, "shell"}, lines,
                            [] { ::setenv("BAD_PLUGIN", "read signal9", /*replace*/ 1); });
    EXPECT_EQ(killed.status(), -SIGKILL);
    EXPECT_EQ(namesIn(disk_ / "a"), "");
}

TEST_F(BadDiskTemporaryNameTest, ReusesTheTemporaryNameOfAKilledExport) {
    const std::string name = temporaryNameOf("f");
    disk_.write("out/" + name, "left behind");
    succeed("write /f new");
    succeed("export /f " + disk_ / "out");
    EXPECT_EQ(namesIn(disk_ / "out"), "f");
}

TEST_F(BadDiskExportTest, RunsTwoExportsIntoOneReadOnlyTree) {
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

TEST_F(BadDiskExportTest, WritesOneFileTwiceIfItCannotBeNamed) {
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

} // namespace

} // namespace storage::tests
