#include "host/mount/Ownership.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/host/mount/BoundedProvider.h"
#include "tests/host/mount/MountedStorageTest.h"

#include <cerrno>
#include <utility>

namespace storage::tests {

namespace {

using host::AttributeChange;
using host::Owner;

constexpr Owner anotherOwner{1234, 5678};

/// Users and groups of entries.
class MountedOwnerTest : public MountedStorageTest {};

TEST_F(MountedOwnerTest, GivesExistingEntriesTheDefaultOwner) {
    memory_->doCreateFile(provider::StorageIRI(u"/f"));
    EXPECT_EQ(mount_.ownerOf(mount_.at("/f")), Owner::ofProcess());
    EXPECT_EQ(mount_.ownerOf(mount_.storage().root()), Owner::ofProcess());
    MountedStorage other(*memory_, {.owner = anotherOwner});
    EXPECT_EQ(other.status(other.root()).st_uid, anotherOwner.user);
    EXPECT_EQ(other.status(other.root()).st_gid, anotherOwner.group);
}

TEST_F(MountedOwnerTest, GivesNewEntriesToTheirCreator) {
    Inode& file = mount_.makeFile("/f", "", 0644, anotherOwner);
    Inode& folder = mount_.makeFolder("/d", 0755, anotherOwner);
    EXPECT_EQ(mount_.ownerOf(file), anotherOwner);
    EXPECT_EQ(mount_.ownerOf(folder), anotherOwner);
    EXPECT_EQ(mount_.ownerOf(mount_.makeFile("/g")), Owner::ofProcess());
    mount_.rename("/f", "/d/f");
    EXPECT_EQ(mount_.ownerOf(mount_.at("/d/f")), anotherOwner);
}

TEST_F(MountedOwnerTest, InheritsTheGroupOfASetGroupIdFolder) {
    mount_.makeFolder("/d", 02755, {1, 77});
    EXPECT_EQ(mount_.ownerOf(mount_.makeFile("/d/f", "", 0644, anotherOwner)),
              (Owner{anotherOwner.user, 77}));
    EXPECT_EQ(mount_.permissionsOf(mount_.at("/d/f")), 0644U);
    EXPECT_EQ(mount_.ownerOf(mount_.makeFolder("/d/s", 0700, anotherOwner)), (Owner{anotherOwner.user, 77}));
    EXPECT_EQ(mount_.permissionsOf(mount_.at("/d/s")), 02700U) << "folders also inherit the bit";
    EXPECT_EQ(mount_.ownerOf(mount_.makeFile("/d/s/f", "", 0644, anotherOwner)),
              (Owner{anotherOwner.user, 77}));
}

TEST_F(MountedOwnerTest, ChangesUserAndGroupTogetherOrAlone) {
    Inode& file = mount_.makeFile("/f");
    mount_.setOwner(file, anotherOwner);
    EXPECT_EQ(mount_.ownerOf(file), anotherOwner);
    AttributeChange user;
    user.owner = 42;
    mount_.storage().change(file, user);
    EXPECT_EQ(mount_.ownerOf(file), (Owner{42, anotherOwner.group}));
    AttributeChange group;
    group.group = 43;
    EXPECT_EQ(mount_.storage().change(file, group).st_gid, 43U);
    EXPECT_EQ(mount_.ownerOf(file), (Owner{42, 43}));
    mount_.setPermissions(file, 0600);
    EXPECT_EQ(mount_.ownerOf(file), (Owner{42, 43})) << "other changes keep the owner";
    mount_.setOwner(file, Owner::ofProcess());
    EXPECT_EQ(mount_.ownerOf(file), Owner::ofProcess());
}

TEST_F(MountedOwnerTest, RequiresSpace) {
    BoundedProvider provider(memory_);
    MountedTree mount(provider);
    provider.available = 1030; // for one entry
    Inode& file = mount.makeFile("/f");
    Inode& other = mount.makeFile("/other", "", 0644, anotherOwner);
    provider.available = 10;
    EXPECT_EQ(errnoOf([&] { mount.setOwner(file, anotherOwner); }), ENOSPC);
    EXPECT_EQ(mount.ownerOf(file), Owner::ofProcess());
    mount.setOwner(file, Owner::ofProcess());
    mount.setOwner(other, {1, 1});
    EXPECT_EQ(mount.ownerOf(other), (Owner{1, 1})) << "an entry with its own owner requires no more space";
}

TEST_F(MountedOwnerTest, ClearsSetIdBits) {
    FileInode& file = mount_.makeFile("/f");
    AttributeChange change;
    using SetIds = AttributeChange::SetIds;
    struct Case {
        SetIds setIds;
        mode_t before;
        mode_t after;
    };
    for (const auto& [setIds, before, after] :
         {Case{SetIds::ClearedByMember, 06755, 0755}, Case{SetIds::ClearedByMember, 02755, 0755},
          Case{SetIds::ClearedByMember, 06644, 02644}, Case{SetIds::ClearedByMember, 01644, 01644},
          Case{SetIds::ClearedByOther, 06755, 0755}, Case{SetIds::ClearedByOther, 06644, 0644},
          Case{SetIds::ClearedByOther, 02600, 0600}, Case{SetIds::ClearedByOther, 01644, 01644},
          Case{SetIds::Kept, 06755, 06755}}) {
        change.setIds = setIds;
        mount_.setPermissions(file, before);
        EXPECT_EQ(mount_.storage().clearSetIds(file, setIds), before != after);
        EXPECT_EQ(mount_.permissionsOf(file), after);
        EXPECT_FALSE(mount_.storage().clearSetIds(file, setIds));
        mount_.setPermissions(file, before);
        EXPECT_EQ(mount_.storage().change(file, change).st_mode & 07777U, after);
    }
}

} // namespace

} // namespace storage::tests
