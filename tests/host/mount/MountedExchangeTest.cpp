#include "tests/host/mount/FailingStep.h"
#include "tests/host/mount/MountedStorageTest.h"
#include "tests/host/mount/StepwiseProvider.h"
#include "tests/support/TreeContents.h"

#include <cerrno>
#include <cstdio>
#include <new>

namespace storage::tests {

namespace {

/// Two names that are exchanged, and whiteouts.
class MountedExchangeTest : public MountedStorageTest {
protected:
    static void makeAllKinds(MountedTree& mount) {
        mount.makeFolder("/a");
        mount.makeFolder("/b");
        mount.makeFile("/a/file", "content");
        mount.makeFolder("/a/folder");
        mount.makeFile("/a/folder/below", "below");
        mount.makeSymbolicLink("/a/folder/link", "x");
        mount.makeSymbolicLink("/a/link", "target");
        mount.makeFile("/b/own", "linked", 0444);
        mount.link("/b/own", "/b/alias");
        mount.makeFile("/b/other", "other");
        mount.makeFolder("/b/empty");
        mount.storage().settle(); // closes streams
    }

    struct stat statusOf(const std::string& path) {
        return mount_.storage().status(mount_.at(path));
    }
};

TEST_F(MountedExchangeTest, ExchangesEntriesOfAnyKinds) {
    makeAllKinds(mount_);
    const TreeSnapshot before = withoutTimes(mount_.snapshot());
    for (const std::string left : {"/a/file", "/a/folder", "/a/link"}) {
        for (const std::string right : {"/b/own", "/b/alias", "/b/other", "/b/empty"}) {
            SCOPED_TRACE(left + " and " + right);
            const Inode& leftInode = mount_.at(left);
            const Inode& rightInode = mount_.at(right);
            mount_.rename(left, right, RENAME_EXCHANGE);
            EXPECT_EQ(&mount_.at(left), &rightInode);
            EXPECT_EQ(&mount_.at(right), &leftInode);
            expectStorageAsSeen();
            mount_.rename(left, right, RENAME_EXCHANGE);
            EXPECT_EQ(&mount_.at(left), &leftInode);
            EXPECT_EQ(withoutTimes(mount_.snapshot()), before);
        }
    }
    EXPECT_EQ(mount_.storage().status(mount_.at("/b/own")).st_nlink, 2U);
}

TEST_F(MountedExchangeTest, ExchangesTwoEntriesOfTheRoot) {
    const Inode& file = mount_.makeFile("/f", "content");
    const Inode& folder = mount_.makeFolder("/d");
    mount_.rename("/f", "/d", RENAME_EXCHANGE);
    EXPECT_EQ(&mount_.at("/f"), &folder);
    EXPECT_EQ(&mount_.at("/d"), &file);
    EXPECT_THAT(mount_.namesIn(mount_.storage().root()), testing::ElementsAre("d", "f"));
    expectStorageAsSeen();
}

TEST_F(MountedExchangeTest, ChangesBothInodesAndModifiesBothFolders) {
    makeAllKinds(mount_);
    const std::vector<std::string> paths{"/a/file", "/b/other", "/a", "/b"};
    host::AttributeChange past;
    past.modified = pastTime;
    past.changed = pastTime;
    for (const std::string& path : paths) {
        mount_.storage().change(mount_.at(path), past);
    }
    mount_.setModified(mount_.at("/"), pastTime);
    mount_.rename("/a/file", "/b/other", RENAME_EXCHANGE);
    for (const std::string& path : paths) {
        EXPECT_FALSE(statusOf(path).st_ctim == pastTime) << path;
    }
    EXPECT_EQ(statusOf("/a/file").st_mtim, pastTime);
    EXPECT_FALSE(statusOf("/a").st_mtim == pastTime);
    EXPECT_FALSE(statusOf("/b").st_mtim == pastTime);
    EXPECT_EQ(statusOf("/").st_mtim, pastTime);
    expectStorageAsSeen();
}

TEST_F(MountedExchangeTest, UpdatesLinkCounts) {
    makeAllKinds(mount_);
    mount_.rename("/a/folder", "/b/other", RENAME_EXCHANGE);
    EXPECT_EQ(statusOf("/a").st_nlink, 2U);
    EXPECT_EQ(statusOf("/b").st_nlink, 4U);
}

TEST_F(MountedExchangeTest, KeepsOpenFilesUsable) {
    mount_.makeFile("/f", "one");
    mount_.makeFile("/g", "two");
    FileInode& one = mount_.open("/f");
    FileInode& two = mount_.open("/g");
    mount_.write(one, 3, "+");
    mount_.rename("/f", "/g", RENAME_EXCHANGE);
    mount_.write(one, 4, "+");
    mount_.write(two, 3, "-");
    EXPECT_EQ(mount_.bytesOf(mount_.file("/g")), "one++");
    EXPECT_EQ(mount_.bytesOf(mount_.file("/f")), "two-");
    mount_.close(one);
    mount_.close(two);
    expectStorageAsSeen();
}

TEST_F(MountedExchangeTest, RefusesImpossibleExchanges) {
    makeAllKinds(mount_);
    const TreeSnapshot before = mount_.snapshot();
    EXPECT_EQ(errnoOf([&] { mount_.rename("/a/file", "/b/missing", RENAME_EXCHANGE); }), ENOENT);
    EXPECT_EQ(errnoOf([&] { mount_.rename("/missing", "/a/file", RENAME_EXCHANGE); }), ENOENT);
    EXPECT_EQ(errnoOf([&] { mount_.rename("/a", "/a/folder", RENAME_EXCHANGE); }), EINVAL);
    EXPECT_EQ(errnoOf([&] { mount_.rename("/a/folder/below", "/a", RENAME_EXCHANGE); }), EINVAL);
    EXPECT_EQ(errnoOf([&] { mount_.rename("/a/file", "/b/own", RENAME_EXCHANGE | RENAME_NOREPLACE); }),
              EINVAL);
    EXPECT_EQ(errnoOf([&] { mount_.rename("/a/file", "/b/own", RENAME_EXCHANGE | RENAME_WHITEOUT); }),
              EINVAL);
    EXPECT_EQ(errnoOf([&] { mount_.rename("/a/file", "/b/own", 8); }), EINVAL);
    mount_.rename("/b/own", "/b/alias", RENAME_EXCHANGE);
    mount_.rename("/a", "/a", RENAME_EXCHANGE);
    EXPECT_EQ(mount_.snapshot(), before);
    expectStorageAsSeen();
}

TEST_F(MountedExchangeTest, LeavesAWhiteoutAtTheOldName) {
    makeAllKinds(mount_);
    for (const std::string source : {"/a/file", "/a/folder", "/a/link", "/b/own", "/b/other"}) {
        SCOPED_TRACE(source);
        const Inode& inode = mount_.at(source);
        mount_.rename(source, "/moved", RENAME_WHITEOUT);
        EXPECT_EQ(&mount_.at("/moved"), &inode);
        EXPECT_EQ(statusOf(source).st_mode, mode_t{S_IFCHR});
        EXPECT_EQ(statusOf(source).st_rdev, 0U);
        EXPECT_EQ(statusOf(source).st_nlink, 1U);
        expectStorageAsSeen();
        mount_.rename("/moved", source + "-moved");
    }
    mount_.makeFile("/new");
    EXPECT_EQ(errnoOf([&] { mount_.rename("/new", "/a/file", RENAME_NOREPLACE | RENAME_WHITEOUT); }), EEXIST);
    mount_.rename("/new", "/a/file", RENAME_WHITEOUT);
    mount_.rename("/new", "/newer", RENAME_NOREPLACE | RENAME_WHITEOUT);
    EXPECT_EQ(mount_.at("/newer").kind, Inode::Kind::CharacterDevice);
    EXPECT_EQ(mount_.at("/new").kind, Inode::Kind::CharacterDevice);
    mount_.removeFile("/new");
    expectStorageAsSeen();
}

TEST_F(MountedExchangeTest, GivesAWhiteoutToTheCaller) {
    for (const std::string path : {"/f", "/g", "/h"}) {
        mount_.makeFile(path);
    }
    mount_.rename("/f", "/moved", RENAME_WHITEOUT, {42, 43});
    EXPECT_EQ(mount_.ownerOf(mount_.at("/f")), (Owner{42, 43}));
    EXPECT_EQ(mount_.ownerOf(mount_.at("/moved")), Owner::ofProcess());
    mount_.rename("/g", "/moved-too", RENAME_WHITEOUT);
    EXPECT_EQ(mount_.ownerOf(mount_.at("/g")), Owner::ofProcess());
    mount_.setPermissions(mount_.storage().root(), 02755);
    mount_.setOwner(mount_.storage().root(), {1, 2});
    mount_.rename("/h", "/moved-last", RENAME_WHITEOUT, {42, 43});
    EXPECT_EQ(mount_.ownerOf(mount_.at("/h")), (Owner{42, 2}));
}

TEST_F(MountedExchangeTest, KeepsTheOrderOfAListing) {
    for (const std::string path : {"/c", "/b", "/a"}) {
        mount_.makeFile(path);
    }
    mount_.rename("/a", "/c", RENAME_EXCHANGE);
    mount_.rename("/b", "/d", RENAME_WHITEOUT);
    EXPECT_THAT(mount_.namesIn(mount_.storage().root()), testing::ElementsAre("b", "a", "d", "c"));
}

struct ExchangeUse {
    std::string name;
    std::string from;
    std::string to;
    unsigned flags;
};

void PrintTo(const ExchangeUse& use, std::ostream* out) {
    *out << use.name;
}

const std::vector<ExchangeUse> exchangeUses{
    {"two files", "/a/file", "/b/other", RENAME_EXCHANGE},
    {"a file and a folder", "/b/own", "/a/folder", RENAME_EXCHANGE},
    {"two folders", "/b/empty", "/a/folder", RENAME_EXCHANGE},
    {"a link and a file", "/a/link", "/b/own", RENAME_EXCHANGE},
    {"an alias and a folder", "/b/alias", "/a/folder", RENAME_EXCHANGE},
    {"a whiteout", "/a/file", "/b/new", RENAME_WHITEOUT},
    {"a whiteout and a replacement", "/a/file", "/b/own", RENAME_WHITEOUT},
    {"a whiteout of a folder", "/a/folder", "/b/empty", RENAME_WHITEOUT},
};

/// Fails each operation of the storage in turn.
class MountedExchangeFailureTest : public MountedExchangeTest,
                                   public testing::WithParamInterface<ExchangeUse> {
protected:
    /// Returns the tree that programs see, with the kind of every entry.
    static std::map<std::string, Inode::Kind> kindsIn(MountedTree& mount) {
        std::map<std::string, Inode::Kind> kinds;
        for (const std::string folder : {"/a", "/b", "/a/folder", "/b/empty", "/b/own", "/b/alias"}) {
            Inode* const inode = mount.find(folder);
            if (inode == nullptr || !inode->isFolder()) {
                continue;
            }
            for (const std::string& name : mount.namesIn(static_cast<FolderInode&>(*inode))) {
                const std::string path = folder + '/' + name;
                kinds[path] = mount.at(path).kind;
            }
        }
        return kinds;
    }

    static void run(MountedTree& mount) { mount.rename(GetParam().from, GetParam().to, GetParam().flags); }
};

TEST_P(MountedExchangeFailureTest, ChangesNothing) {
    makeAllKinds(mount_);
    const TreeSnapshot before = withoutTimes(mount_.snapshot());
    const auto kindsBefore = kindsIn(mount_);
    run(mount_);
    const TreeSnapshot after = withoutTimes(mount_.snapshot());
    const auto kindsAfter = kindsIn(mount_);
    int failures = 0;
    for (int number = 1;; ++number) {
        SCOPED_TRACE("operation " + std::to_string(number));
        const auto memory = sharedProvider(TEST_PLUGIN);
        StepwiseProvider provider(memory);
        MountedTree mount(provider);
        makeAllKinds(mount);
        int error = 0;
        {
            const FailingStep step(provider, number, [] { throw std::bad_alloc(); });
            error = errnoOf([&] { run(mount); });
            if (!step.happened()) {
                break;
            }
        }
        failures += error == 0 ? 0 : 1;
        EXPECT_EQ(withoutTimes(mount.snapshot()), error == 0 ? after : before);
        EXPECT_EQ(kindsIn(mount), error == 0 ? kindsAfter : kindsBefore);
        EXPECT_EQ(mount.storage().settle().failures.size(), 0U);
        const TreeSnapshot stored = takeSnapshot(*memory);
        EXPECT_EQ(contentsOf(stored), contentsOf(seenInStorage(mount, stored)));
    }
    EXPECT_GT(failures, 0);
}

std::string nameOfExchange(const testing::TestParamInfo<ExchangeUse>& info) {
    std::string name = info.param.name;
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Of, MountedExchangeFailureTest, testing::ValuesIn(exchangeUses), nameOfExchange);

} // namespace

} // namespace storage::tests
