#include "host/mount/MountOptionList.h"
#include "host/support/UsageError.h"

#include <gmock/gmock.h>
#include <unistd.h>

namespace storage::tests {

namespace {

using host::applyOptionList;
using host::MountOptions;
using host::UsageError;
using testing::ElementsAre;

MountOptions optionsOf(const char* list) {
    MountOptions options;
    applyOptionList(list, options);
    return options;
}

std::string refusalOf(const char* list) {
    try {
        optionsOf(list);
    } catch (const UsageError& error) {
        return error.what();
    }
    return "";
}

TEST(MountOptionListTest, ChangesNothingIfEmpty) {
    EXPECT_FALSE(optionsOf("").size);
    EXPECT_FALSE(optionsOf(",,").size);
    EXPECT_EQ(optionsOf("defaults").writing, MountOptions::Writing::Allowed);
}

TEST(MountOptionListTest, ParsesAmountsWithUnits) {
    EXPECT_EQ(optionsOf("size=4096").size, 4096U);
    EXPECT_EQ(optionsOf("size=3k").size, 3U << 10U);
    EXPECT_EQ(optionsOf("size=3M").size, 3U << 20U);
    EXPECT_EQ(optionsOf("size=3g").size, std::uint64_t{3} << 30U);
    EXPECT_EQ(optionsOf("size=3T").size, std::uint64_t{3} << 40U);
    const auto memory = static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES)) *
                        static_cast<std::uint64_t>(::sysconf(_SC_PAGE_SIZE));
    EXPECT_EQ(optionsOf("size=25%").size, memory / 100 * 25);
    EXPECT_FALSE(optionsOf("size=1g,size=0").size) << "no limit";
    EXPECT_EQ(optionsOf("nr_inodes=2k").entries, 2048U);
    EXPECT_FALSE(optionsOf("nr_inodes=0").entries);
    for (const char* const wrong : {"size=", "size", "size=x", "size=-1", "size=1kk", "size=1x", "size=101%",
                                    "size=99999999999999999999", "size=99999999999t", "nr_inodes=5%"}) {
        EXPECT_NE(refusalOf(wrong), "") << wrong;
    }
}

TEST(MountOptionListTest, ParsesOwnersAndModesAsNumbers) {
    const MountOptions options = optionsOf("uid=1000,gid=100,mode=1770");
    EXPECT_EQ(options.user, 1000U);
    EXPECT_EQ(options.group, 100U);
    EXPECT_EQ(options.rootPermissions, 01770U);
    for (const char* const wrong :
         {"uid=root", "uid=-1", "uid=4294967295", "gid=", "mode=8", "mode=10000", "mode=rwx"}) {
        EXPECT_NE(refusalOf(wrong), "") << wrong;
    }
}

TEST(MountOptionListTest, AcceptsTheOptionsOfTheCommand) {
    const MountOptions options =
        optionsOf("import=/in,export_on_exit=/out,rescue=/r,threads=3,plugin=/p.so,fsname=x,allow_other,ro");
    EXPECT_EQ(options.importFrom, "/in");
    EXPECT_EQ(options.exportTo, "/out");
    EXPECT_EQ(options.ending, MountOptions::Ending::Adds);
    EXPECT_EQ(options.rescueTo, "/r");
    EXPECT_EQ(options.threads, 3U);
    EXPECT_EQ(options.plugin, "/p.so");
    EXPECT_EQ(options.source, "x");
    EXPECT_EQ(options.users, MountOptions::Users::Everybody);
    EXPECT_EQ(options.writing, MountOptions::Writing::Refused);
    EXPECT_EQ(optionsOf("import=/in,sync_on_exit=/in").ending, MountOptions::Ending::Synchronizes);
    EXPECT_EQ(optionsOf("ro,rw").writing, MountOptions::Writing::Allowed) << "the last one counts";
    EXPECT_NE(refusalOf("threads=0"), "");
    EXPECT_NE(refusalOf("threads=257"), "");
}

TEST(MountOptionListTest, KeepsExtendedAttributesUnlessRefused) {
    EXPECT_EQ(optionsOf("").xattrs, MountOptions::Xattrs::Kept);
    EXPECT_EQ(optionsOf("noxattr").xattrs, MountOptions::Xattrs::Refused);
    EXPECT_EQ(refusalOf("noxattr=1"), "noxattr=1: unknown mount option");
}

TEST(MountOptionListTest, PassesKernelOptionsOn) {
    EXPECT_THAT(optionsOf("noexec,size=1m,nosuid,exec,noatime").kernelOptions,
                ElementsAre("noexec", "nosuid", "exec", "noatime"));
}

TEST(MountOptionListTest, IgnoresOptionsForReadersOfFstab) {
    const MountOptions options = optionsOf("_netdev,nofail,x-systemd.automount,x-gvfs-show,X-mount.mkdir=700,"
                                           "comment=a b,setuid=nobody,noauto,user,relatime");
    EXPECT_TRUE(options.kernelOptions.empty());
    EXPECT_FALSE(options.user);
}

TEST(MountOptionListTest, RefusesUnknownOptionsUnlessSloppy) {
    EXPECT_EQ(refusalOf("size=1m,frobnicate"), "frobnicate: unknown mount option");
    EXPECT_EQ(refusalOf("ro=1"), "ro=1: unknown mount option");
    EXPECT_EQ(optionsOf("frobnicate,sloppy,size=1m").size, 1U << 20U);
}

} // namespace

} // namespace storage::tests
