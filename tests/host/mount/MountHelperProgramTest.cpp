#include "tests/host/mount/MountingTest.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <unistd.h>

namespace storage::tests {

namespace {

using testing::HasSubstr;
using testing::StartsWith;

/// mount(8) runs the program as its helper in a separate mount namespace, so that no mount is left behind.
class MountHelperProgramTest : public MountingTest {
protected:
    void SetUp() override {
        MountingTest::SetUp();
        const bool isPossible = ::geteuid() == 0 && std::filesystem::is_symlink("/sbin") &&
                                runs("unshare --mount --propagation private mount -t tmpfs none /usr/sbin");
        if (!IsSkipped() && !isPossible) {
            GTEST_SKIP() << "the folder of mount's helpers cannot be covered here";
        }
    }

    /// Installs the helper, runs a script and returns its output; $m is the mount point.
    std::string printedBy(const std::string& script) {
        const std::string file =
            disk_.write("script", "set -e; m=" + mountPoint_ +
                                      "\nmount -t tmpfs none /usr/sbin\nln -s " TEST_PROGRAM
                                      " /usr/sbin/mount.fuse.qzstorage\n" +
                                      script);
        const std::string line = "unshare --mount --propagation private sh " + file + " 2>&1";
        std::FILE* const pipe = ::popen(line.c_str(), "r"); // NOLINT(cert-env33-c)
        std::string printed;
        std::array<char, 256> part{};
        while (std::fgets(part.data(), static_cast<int>(part.size()), pipe) != nullptr) {
            printed += part.data();
        }
        ::pclose(pipe);
        return printed;
    }
};

TEST_F(MountHelperProgramTest, AcceptsTheOptionsOfMount) {
    EXPECT_EQ(printedBy("mount -t fuse.qzstorage -o "
                        "size=1m,nr_inodes=5,mode=1770,uid=12,gid=34,noexec,_netdev,x-y=z store $m\n"
                        "stat --format '%a %u %g' $m\n"
                        "findmnt --noheadings --output SOURCE,FSTYPE $m | tr -s ' '\n"
                        "findmnt --noheadings --output VFS-OPTIONS $m | grep -o noexec\n"
                        "df --block-size=1024 --output=size,itotal,iavail $m | tail -n 1 | tr -s ' '\n"
                        "head -c 2M /dev/zero 2>/dev/null >$m/f || echo full\n"
                        "umount $m\n"
                        "findmnt $m || echo gone\n"),
              "1770 12 34\nstore fuse.qzstorage\nnoexec\n 1024 5 4\nfull\ngone\n");
}

TEST_F(MountHelperProgramTest, MountsALineOfFstab) {
    const std::string table =
        disk_.write("fstab", "store " + mountPoint_ + " fuse.qzstorage ro,noauto,nofail,size=64m 0 0\n");
    EXPECT_EQ(printedBy("mount --fstab " + table +
                        " $m\n"
                        "touch $m/f 2>/dev/null || echo read-only\n"
                        "df --block-size=1M --output=size $m | tail -n 1 | tr -d ' '\n"
                        "umount $m\n"),
              "read-only\n64\n");
}

TEST_F(MountHelperProgramTest, PrintsTheHelpOfMount) {
    EXPECT_THAT(printedBy("mount.fuse.qzstorage --help\n"), HasSubstr("Usage: qzstorage mount "));
    EXPECT_THAT(printedBy("mount.fuse.qzstorage store\n"), HasSubstr("(try 'qzstorage mount --help')"));
}

TEST_F(MountHelperProgramTest, ReportsUnknownOptions) {
    EXPECT_THAT(printedBy("mount -t fuse.qzstorage -o frobnicate store $m\n"),
                HasSubstr("frobnicate: unknown mount option"));
    EXPECT_EQ(printedBy("mount -s -t fuse.qzstorage -o frobnicate store $m\numount $m\necho done\n"),
              "done\n");
    EXPECT_EQ(printedBy("mount -f -t fuse.qzstorage store $m\nfindmnt $m || echo nothing\n"), "nothing\n");
}

} // namespace

} // namespace storage::tests
