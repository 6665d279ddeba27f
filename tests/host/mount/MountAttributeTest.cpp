#include "tests/host/mount/ComparedWithTmpfs.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

namespace storage::tests {

namespace {

/// Set-ID bits, extended attributes and times of a real mount.
class MountAttributeTest : public ComparedWithTmpfs {};

TEST_F(MountAttributeTest, ClearsSetIdBitsOnWriteAndTruncate) {
    expectSameOutput(R"(
        umask 0
        write='dd status=none bs=4096 count=1 conv=notrunc if=/dev/zero of=f'
        for mode in 6777 6767; do
            for way in 'echo text >> f' "$write" "$write oflag=direct" ': > f' 'truncate -s 3 f' 'fallocate -l 100 f'; do
                echo content > f; chown 1001:1001 f; chmod $mode f
                echo "$way"; as 1001 "$way"; show f
                chmod $mode f; eval "$way"; show f
                rm f
            done
        done
        cat /dev/null > g; chmod 6777 g
        as 1002 'exec 3>>g; stat -c %A g; echo a >&3; stat -c %A g; echo b >&3; stat -c %A g'
        chmod 6777 g; as 1002 'cp /bin/true g'; show g
    )");
}

TEST_F(MountAttributeTest, HandlesExtendedAttributesLikeTmpfs) {
    expectSameOutput(R"(
        touch f; mkdir d; chown 1001 f d; chmod 644 f
        cat > program <<'END'
import errno, os, sys
def attempt(call, *arguments, **named):
    try:
        result = call(*arguments, **named)
        print(call.__name__, arguments[:2], result if result is None or len(result) < 200 else len(result))
    except OSError as error:
        print(call.__name__, arguments[:2], errno.errorcode[error.errno])
for path in ["f", "d", "missing"]:
    for name in ["user.a", "user.b", "trusted.t", "security.s", "user." + "n" * 250, "user." + "n" * 251, "user.",
                 "user", "unknown.x", "user.a/b", "security.", ""]:
        for value in [b"value", b"", b"\0bytes\0"]:
            attempt(os.setxattr, path, name, value, os.XATTR_CREATE)
            attempt(os.setxattr, path, name, value, os.XATTR_REPLACE)
            attempt(os.getxattr, path, name)
        attempt(os.setxattr, path, name, b"again")
    attempt(os.listxattr, path)
    attempt(os.removexattr, path, "user.a")
    attempt(os.removexattr, path, "user.a")
    attempt(os.getxattr, path, "user.a")
    for name in os.listxattr(path) if path != "missing" else []:
        attempt(os.removexattr, path, name)
    attempt(os.setxattr, path, "user.large", b"x" * 65536)
    attempt(os.getxattr, path, "user.large")
    attempt(os.removexattr, path, "user.large")
    attempt(os.setxattr, path, "user.large", b"x" * 65537)
    attempt(os.listxattr, path)
END
        python3 program; as 1001 'python3 program'; as 1002 'python3 program'
        chmod 1777 d; as 1002 'python3 program'; as 1001 'python3 program'
    )");
}

TEST_F(MountAttributeTest, ReadsExtendedAttributesIntoBuffersOfAnySize) {
    const auto results = [](const std::string& path) {
        std::vector<long> all;
        std::array<char, 100> room{};
        const auto note = [&](long result) { all.push_back(result < 0 ? -errno : result); };
        write(path, "content");
        note(::setxattr(path.c_str(), "user.a", "12345", 5, 0));
        for (const std::size_t size : {0U, 1U, 4U, 5U, 6U, 100U}) {
            note(::getxattr(path.c_str(), "user.a", room.data(), size));
            note(::listxattr(path.c_str(), room.data(), size));
        }
        note(::removexattr(path.c_str(), "user.a"));
        note(::listxattr(path.c_str(), room.data(), room.size()));
        return all;
    };
    const auto expected = results(tmpfs() + "/f");
    EXPECT_EQ(expected[1], 5);
    expectSuccess(runMounted({}, [&](pid_t) {
        EXPECT_EQ(results(inside("f")), expected);
        EXPECT_TRUE(unmount());
    }));
}

TEST_F(MountAttributeTest, KeepsCapabilitiesUntilTheFileChanges) {
    if (!runs("command -v setcap && command -v getcap")) {
        GTEST_SKIP() << "setcap is missing";
    }
    expectSameOutput(R"(
        setcap=$(command -v setcap); getcap=$(command -v getcap)
        for way in 'echo text >> f' 'truncate -s 1 f' ': > f' 'chown 1001 f' 'touch f' 'mv f g; mv g f'; do
            echo content > f; $setcap cap_net_raw+ep f; $getcap f; eval "$way"; echo "$way"; $getcap f
            $setcap cap_net_raw+ep f; echo content >> f; $getcap f
            rm f
        done
        touch own; chown 1001 own
        as 1001 "$setcap cap_net_raw+ep own"; $getcap own
        $setcap cap_net_raw+ep own; as 1001 "$getcap own; $setcap -r own; echo x >> own; $getcap own"
    )");
}

TEST_F(MountAttributeTest, RefusesExtendedAttributesWithNoxattr) {
    const std::string source = disk_.makeFolder("source");
    const std::string target = disk_.makeFolder("target");
    write(source + "/f", "content");
    if (::setxattr((source + "/f").c_str(), "user.a", "12345", 5, 0) != 0) {
        GTEST_SKIP() << "the disk has no extended attributes";
    }
    expectSuccess(runMounted({"-o", "noxattr", "--import", source, "--export-on-exit", target}, [&](pid_t) {
        const std::string file = inside("f");
        std::array<char, 100> room{};
        const auto expectRefused = [](long result) {
            EXPECT_EQ(result, -1);
            EXPECT_EQ(errno, EOPNOTSUPP);
        };
        expectRefused(::setxattr(file.c_str(), "user.b", "12345", 5, 0));
        expectRefused(::getxattr(file.c_str(), "user.a", room.data(), room.size()));
        expectRefused(::listxattr(file.c_str(), room.data(), room.size()));
        expectRefused(::removexattr(file.c_str(), "user.a"));
        write(file, "other");
        EXPECT_TRUE(unmount());
    }));
    EXPECT_TRUE(runs("grep -qx other " + target + "/f"));
    EXPECT_EQ(::listxattr((target + "/f").c_str(), nullptr, 0), 0);
}

TEST_F(MountAttributeTest, CopiesExtendedAttributesWithFiles) {
    expectSameOutput(R"(
        mkdir a; echo text > a/f; setfattr -n user.f -v 'of a file' a/f; setfattr -n user.d -v 'of a folder' a
        cp -a a b; tar --xattrs -cf - a | (mkdir c; tar --xattrs -C c -xf -)
        getfattr -R -d a b c; mv a d; getfattr -R -d d; rm -r d; getfattr -R -d b
    )");
}

struct stat statusOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status;
}

TEST_F(MountAttributeTest, KeepsTimesToTheNanosecond) {
    expectSuccess(runMounted({}, [&](pid_t) {
        write(inside("f"), "content");
        const timespec times[2] = {{1'000'000'000, 123'456'789}, {1'500'000'000, 987'654'321}};
        EXPECT_EQ(::utimensat(AT_FDCWD, inside("f").c_str(), times, 0), 0);
        EXPECT_EQ(::utimensat(AT_FDCWD, mountPoint_.c_str(), times, 0), 0);
        for (const std::string& path : {inside("f"), mountPoint_}) {
            EXPECT_EQ(statusOf(path).st_atim.tv_nsec, 123'456'789) << path;
            EXPECT_EQ(statusOf(path).st_mtim.tv_sec, 1'500'000'000) << path;
            EXPECT_EQ(statusOf(path).st_mtim.tv_nsec, 987'654'321) << path;
        }
        EXPECT_TRUE(unmount());
    }));
}

TEST_F(MountAttributeTest, KeepsTheCreationTime) {
    expectSuccess(runMounted({}, [&](pid_t) {
        const auto bornOf = [](const std::string& path) {
            struct statx status {};
            EXPECT_EQ(::statx(AT_FDCWD, path.c_str(), 0, STATX_BASIC_STATS | STATX_BTIME, &status), 0)
                << path;
            EXPECT_NE(status.stx_mask & STATX_BTIME, 0U) << path;
            EXPECT_EQ(status.stx_uid, ::geteuid());
            return status;
        };
        const time_t begin = ::time(nullptr);
        write(inside("f"), "content");
        const auto before = bornOf(inside("f"));
        EXPECT_GE(before.stx_btime.tv_sec, begin);
        EXPECT_LE(before.stx_btime.tv_sec, statusOf(inside("f")).st_ctim.tv_sec);
        EXPECT_EQ(before.stx_size, 7U);
        EXPECT_EQ(before.stx_mode, S_IFREG | 0644);
        const timespec times[2] = {{1'000'000'000, 0}, {1'000'000'000, 0}};
        EXPECT_EQ(::utimensat(AT_FDCWD, inside("f").c_str(), times, 0), 0);
        EXPECT_EQ(::rename(inside("f").c_str(), inside("g").c_str()), 0);
        const auto after = bornOf(inside("g"));
        EXPECT_EQ(after.stx_btime.tv_sec, before.stx_btime.tv_sec);
        EXPECT_EQ(after.stx_btime.tv_nsec, before.stx_btime.tv_nsec);
        EXPECT_EQ(after.stx_mtime.tv_sec, 1'000'000'000);
        EXPECT_EQ(after.stx_ino, before.stx_ino);
        EXPECT_NE(bornOf(mountPoint_).stx_mode & S_IFDIR, 0);
        EXPECT_TRUE(unmount());
    }));
}

TEST_F(MountAttributeTest, UpdatesTheAccessTimeAsWithRelatime) {
    const std::string content = disk_.makeFolder("content");
    write(content + "/f", "content");
    expectSuccess(runMounted({"--import", content}, [&](pid_t) {
        const auto read = [&] { runs("cat " + inside("f") + " && ls " + mountPoint_); };
        const timespec times[2] = {{1'000'000'000, 0}, {1'000'000'000, 0}};
        for (const std::string& path : {inside("f"), mountPoint_}) {
            EXPECT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
            EXPECT_EQ(statusOf(path).st_atim.tv_sec, 1'000'000'000);
        }
        read();
        EXPECT_GT(statusOf(inside("f")).st_atim.tv_sec, 1'000'000'000);
        EXPECT_GT(statusOf(mountPoint_).st_atim.tv_sec, 1'000'000'000);
        EXPECT_EQ(statusOf(inside("f")).st_mtim.tv_sec, 1'000'000'000);
        EXPECT_TRUE(unmount());
    }));
}

} // namespace

} // namespace storage::tests
