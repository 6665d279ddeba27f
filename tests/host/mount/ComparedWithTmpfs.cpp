#include "tests/host/mount/ComparedWithTmpfs.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <sys/mount.h>
#include <unistd.h>

namespace {

/// Functions for the scripts.
const std::string preamble = R"(
    umask 022
    as() { setpriv --reuid="$1" --regid="$1" --groups=2000 sh -c "$2"; echo "status $?"; }
    show() { stat -c '%n %A %u %g' "$@"; }
    chmod 1777 .
)";

} // namespace

void ComparedWithTmpfs::SetUp() {
    MountingTest::SetUp();
    if (IsSkipped()) {
        return;
    }
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    isTmpfsMounted_ = ::mount("tmpfs", tmpfs_.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, "noacl") == 0 ||
                      ::mount("tmpfs", tmpfs_.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, "") == 0;
    if (!isTmpfsMounted_) {
        GTEST_SKIP() << "no tmpfs can be mounted here";
    }
    std::filesystem::permissions(disk_.path(), std::filesystem::perms(0755));
}

void ComparedWithTmpfs::TearDown() {
    if (isTmpfsMounted_) {
        ::umount2(tmpfs_.c_str(), MNT_DETACH);
    }
    MountingTest::TearDown();
}

void ComparedWithTmpfs::expectSameOutput(const std::string& script, const Words& options) {
    const std::string expected = outputOf(script, tmpfs_);
    expectSuccess(runMounted(options, [&](pid_t) {
        EXPECT_EQ(outputOf(script, mountPoint_), expected);
        EXPECT_TRUE(unmount());
    }));
}

std::string ComparedWithTmpfs::outputOf(const std::string& script, const std::string& folder) {
    const std::string file = folder + "-script";
    write(file, "cd '" + folder + "' || exit\n" + preamble + script);
    std::FILE* const pipe = ::popen(("bash <'" + file + "' 2>&1").c_str(), "r"); // NOLINT(cert-env33-c)
    std::string output;
    std::array<char, 4096> block{};
    for (std::size_t count = 0; (count = std::fread(block.data(), 1, block.size(), pipe)) > 0;) {
        output.append(block.data(), count);
    }
    ::pclose(pipe);
    return output;
}
