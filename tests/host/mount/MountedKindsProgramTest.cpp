#include "tests/host/mount/MountingTest.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

namespace storage::tests {

namespace {

namespace fs = std::filesystem;

/// Symbolic links, fifos, sockets and devices as programs use them.
class MountedKindsProgramTest : public MountingTest {
protected:
    using Use = std::function<void()>;

    void useMounted(const Use& use) {
        expectSuccess(runMounted({}, [&](pid_t process) {
            use();
            ::kill(process, SIGINT);
        }));
    }
};

TEST_F(MountedKindsProgramTest, FollowsASymbolicLink) {
    useMounted([&] {
        fs::create_directory(inside("d"));
        write(inside("d/f"), "content");
        ASSERT_EQ(::symlink("d/f", inside("link").c_str()), 0);
        ASSERT_EQ(::symlink("d", inside("folder").c_str()), 0);
        EXPECT_EQ(fs::read_symlink(inside("link")), "d/f");
        EXPECT_TRUE(runs("grep -qx content " + inside("link")));
        EXPECT_TRUE(runs("grep -qx content " + inside("folder/f")));
        EXPECT_EQ(::symlink("x", inside("link").c_str()), -1);
        EXPECT_EQ(errno, EEXIST);
        struct stat status {};
        ASSERT_EQ(::lstat(inside("link").c_str(), &status), 0);
        EXPECT_EQ(status.st_mode, S_IFLNK | 0777U);
        EXPECT_EQ(status.st_size, 3);
        fs::rename(inside("link"), inside("folder/moved"));
        EXPECT_EQ(fs::read_symlink(inside("d/moved")), "d/f");
        fs::remove(inside("d/moved"));
        EXPECT_FALSE(fs::exists(fs::symlink_status(inside("d/moved"))));
    });
}

TEST_F(MountedKindsProgramTest, AcceptsTheLongestPathAsATarget) {
    useMounted([&] {
        const std::string longest(PATH_MAX - 1, 'x');
        ASSERT_EQ(::symlink(longest.c_str(), inside("link").c_str()), 0);
        EXPECT_EQ(fs::read_symlink(inside("link")), longest);
        EXPECT_EQ(::symlink((longest + 'x').c_str(), inside("other").c_str()), -1);
        EXPECT_EQ(errno, ENAMETOOLONG);
    });
}

TEST_F(MountedKindsProgramTest, ConnectsProgramsByAFifo) {
    useMounted([&] {
        ASSERT_EQ(::mkfifo(inside("fifo").c_str(), 0640), 0);
        EXPECT_TRUE(runs("echo content >" + inside("fifo") + " & grep -qx content " + inside("fifo")));
        struct stat status {};
        ASSERT_EQ(::stat(inside("fifo").c_str(), &status), 0);
        EXPECT_EQ(status.st_mode, S_IFIFO | 0640U);
    });
}

TEST_F(MountedKindsProgramTest, ConnectsProgramsByASocket) {
    useMounted([&] {
        const fs::path before = fs::current_path();
        fs::current_path(mountPoint_); // because names of sockets must be short
        const int server = ::socket(AF_UNIX, SOCK_STREAM, 0);
        const int client = ::socket(AF_UNIX, SOCK_STREAM, 0);
        const sockaddr_un address{AF_UNIX, "socket"};
        const auto* const name = reinterpret_cast<const sockaddr*>(&address);
        EXPECT_EQ(::bind(server, name, sizeof(address)), 0);
        EXPECT_EQ(::listen(server, 1), 0);
        EXPECT_EQ(::connect(client, name, sizeof(address)), 0);
        ::close(client);
        ::close(server);
        EXPECT_TRUE(fs::is_socket("socket"));
        fs::current_path(before);
    });
}

TEST_F(MountedKindsProgramTest, CreatesDevicesForRootOnly) {
    useMounted([&] {
        const dev_t device = ::makedev(1, 3);
        const int made = ::mknod(inside("null").c_str(), S_IFCHR | 0666U, device);
        if (::geteuid() != 0) {
            EXPECT_EQ(made, -1);
            EXPECT_EQ(errno, EPERM);
            return;
        }
        struct stat status {};
        ASSERT_EQ(::stat(inside("null").c_str(), &status), 0);
        EXPECT_EQ(status.st_rdev, device);
        EXPECT_EQ(status.st_mode & S_IFMT, mode_t{S_IFCHR});
    });
}

TEST_F(MountedKindsProgramTest, RemovesAFolderWithALink) {
    useMounted([&] {
        fs::create_directory(inside("d"));
        ASSERT_EQ(::symlink("x", inside("d/link").c_str()), 0);
        EXPECT_EQ(::rmdir(inside("d").c_str()), -1);
        EXPECT_EQ(errno, ENOTEMPTY);
        EXPECT_EQ(fs::remove_all(inside("d")), 2U);
    });
}

TEST_F(MountedKindsProgramTest, CopiesATreeOfAllKinds) {
    const std::string tree = disk_.makeFolder("tree");
    EXPECT_TRUE(runs("cd " + tree +
                     " && mkdir d && echo content >d/f && ln -s d/f link && ln -s missing d/dangling"
                     " && ln -s d folder && mkfifo d/fifo"));
    useMounted([&] {
        EXPECT_TRUE(runs("cp -a " + tree + "/. " + mountPoint_));
        EXPECT_TRUE(runs("diff -r --no-dereference --exclude=fifo " + tree + " " + mountPoint_));
        EXPECT_EQ(fs::read_symlink(inside("d/dangling")), "missing");
        EXPECT_TRUE(runs("test -p " + inside("d/fifo")));
    });
}

} // namespace

} // namespace storage::tests
