#include "tests/host/mount/BoundedProvider.h"
#include "tests/host/mount/MountedStorageTest.h"

#include <cerrno>
#include <sys/xattr.h>

namespace storage::tests {

namespace {

using host::AttributeChange;
using host::ExtendedAttributeSet;

/// Extended attributes of files and folders.
class MountedExtendedAttributeTest : public MountedStorageTest {
protected:
    void set(const std::string& name, const std::string& value, int flags = 0) {
        mount_.storage().setExtended(file_, name, value, flags);
    }
    std::string get(const std::string& name) { return mount_.storage().getExtended(file_, name); }
    std::string names(ExtendedAttributeSet::Names wanted = ExtendedAttributeSet::Names::All) {
        return mount_.storage().listExtended(file_, wanted);
    }

    Inode& file_ = mount_.makeFile("/f", "abc");
    const std::string zero_{'\0'};
};

TEST_F(MountedExtendedAttributeTest, SetsReplacesListsAndRemoves) {
    EXPECT_EQ(names(), "");
    set("user.b", "value");
    set("user.a", zero_ + "binary" + zero_);
    set("user.empty", "");
    EXPECT_EQ(get("user.a"), zero_ + "binary" + zero_);
    EXPECT_EQ(get("user.empty"), "");
    EXPECT_EQ(names(), "user.empty" + zero_ + "user.b" + zero_ + "user.a" + zero_);
    set("user.b", "another");
    EXPECT_EQ(get("user.b"), "another");
    mount_.storage().removeExtended(file_, "user.a");
    EXPECT_EQ(errnoOf([&] { get("user.a"); }), ENODATA);
    EXPECT_EQ(names(), "user.empty" + zero_ + "user.b" + zero_);
    EXPECT_EQ(mount_.bytesOf(mount_.file("/f")), "abc");
}

TEST_F(MountedExtendedAttributeTest, FollowsTheEntry) {
    set("user.a", "of the file");
    mount_.storage().setExtended(mount_.makeFolder("/d"), "user.a", "of the folder", 0);
    mount_.storage().setExtended(mount_.storage().root(), "user.a", "of the root", 0);
    mount_.rename("/f", "/d/g");
    mount_.makeFile("/f");
    EXPECT_EQ(mount_.storage().getExtended(mount_.at("/d/g"), "user.a"), "of the file");
    EXPECT_EQ(mount_.storage().getExtended(mount_.at("/d"), "user.a"), "of the folder");
    EXPECT_EQ(mount_.storage().getExtended(mount_.storage().root(), "user.a"), "of the root");
    EXPECT_EQ(errnoOf([&] { mount_.storage().getExtended(mount_.at("/f"), "user.a"); }), ENODATA);
}

TEST_F(MountedExtendedAttributeTest, HonoursTheFlags) {
    EXPECT_EQ(errnoOf([&] { set("user.a", "x", XATTR_REPLACE); }), ENODATA);
    set("user.a", "x", XATTR_CREATE);
    EXPECT_EQ(errnoOf([&] { set("user.a", "y", XATTR_CREATE); }), EEXIST);
    EXPECT_EQ(get("user.a"), "x");
    set("user.a", "y", XATTR_REPLACE);
    EXPECT_EQ(get("user.a"), "y");
    EXPECT_EQ(errnoOf([&] { mount_.storage().removeExtended(file_, "user.b"); }), ENODATA);
    EXPECT_EQ(errnoOf([&] { mount_.storage().removeExtended(mount_.makeFile("/g"), "user.b"); }), ENODATA);
}

TEST_F(MountedExtendedAttributeTest, AcceptsNamesWithThreePrefixes) {
    set("trusted.t", "1");
    set("security.capability", "2");
    set("user.u", "3");
    EXPECT_EQ(names(), "user.u" + zero_ + "trusted.t" + zero_ + "security.capability" + zero_);
    EXPECT_EQ(names(ExtendedAttributeSet::Names::OfOrdinaryUsers),
              "user.u" + zero_ + "security.capability" + zero_);
    for (const std::string name :
         {"system.posix_acl_access", "system.posix_acl_default", "other.a", "user"}) {
        EXPECT_EQ(errnoOf([&] { set(name, "x"); }), EOPNOTSUPP) << name;
        EXPECT_EQ(errnoOf([&] { get(name); }), EOPNOTSUPP) << name;
        EXPECT_EQ(errnoOf([&] { mount_.storage().removeExtended(file_, name); }), EOPNOTSUPP) << name;
    }
    EXPECT_EQ(errnoOf([&] { set("user.", "x"); }), EINVAL);
}

TEST_F(MountedExtendedAttributeTest, KeepsSeveralValuesOfTheLargestSize) {
    const std::string largest(64U << 10U, 'x');
    set("user.a", largest);
    set("user.b", largest);
    EXPECT_EQ(get("user.a"), largest);
    EXPECT_EQ(get("user.b"), largest);
}

TEST_F(MountedExtendedAttributeTest, LimitsTheNames) {
    constexpr std::size_t most = 64U << 10U; // bytes
    for (std::size_t used = names().size(); used + 201 <= most; used += 201) {
        const std::string number = std::to_string(used);
        set("user." + std::string(195 - number.size(), 'n') + number, "");
    }
    EXPECT_EQ(errnoOf([&] { set("user." + std::string(195, 'm'), ""); }), ENOSPC);
    EXPECT_LE(names().size(), most) << "the limit of listxattr(2)";
}

TEST_F(MountedExtendedAttributeTest, RequiresSpace) {
    BoundedProvider provider(memory_);
    MountedTree mount(provider);
    provider.available = 5000;
    Inode& file = mount.makeFile("/g");
    provider.available = 1000;
    EXPECT_EQ(errnoOf([&] { mount.storage().setExtended(file, "user.a", std::string(4000, 'x'), 0); }),
              ENOSPC);
    EXPECT_EQ(mount.storage().listExtended(file, ExtendedAttributeSet::Names::All), "");
    provider.available = 5000;
    mount.storage().setExtended(file, "user.a", std::string(4000, 'x'), 0);
    EXPECT_EQ(mount.storage().getExtended(file, "user.a").size(), 4000U);
}

TEST_F(MountedExtendedAttributeTest, UpdatesTheTimeOfChange) {
    AttributeChange change;
    change.modified = change.changed = pastTime;
    for (const std::function<void()>& step : {std::function([&] { set("user.a", "x"); }), std::function([&] {
                                                  mount_.storage().removeExtended(file_, "user.a");
                                              })}) {
        mount_.storage().change(file_, change);
        step();
        const struct stat status = mount_.storage().status(file_);
        EXPECT_GT(status.st_ctim.tv_sec, pastTime.tv_sec);
        EXPECT_EQ(status.st_mtim, pastTime);
    }
}

} // namespace

} // namespace storage::tests
