#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/host/mount/FailingStep.h"
#include "tests/host/mount/MountedStorageTest.h"
#include "tests/host/mount/StepwiseProvider.h"
#include "tests/support/RunTogether.h"
#include "tests/support/TreeContents.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <new>
#include <random>

namespace storage::tests {

namespace {

/// Several names of one inode; the storage has only one of them.
class MountedLinkTest : public MountedStorageTest {
protected:
    nlink_t linksOf(const std::string& path) { return mount_.storage().status(mount_.at(path)).st_nlink; }

    bool isStored(const std::string& path) const {
        return takeSnapshot(*memory_).contains(std::u16string(path.begin(), path.end()));
    }

    /// Checks that an operation sets the time of change, but not the time of modification.
    template <typename Operation>
    bool changes(Inode& inode, const Operation& operation) {
        host::AttributeChange past;
        past.modified = pastTime;
        past.changed = pastTime;
        mount_.storage().change(inode, past);
        operation();
        const struct stat status = mount_.storage().status(inode);
        EXPECT_EQ(status.st_mtim, pastTime);
        return !(status.st_ctim == pastTime);
    }
};

TEST_F(MountedLinkTest, GivesOneFileTwoNames) {
    Inode& file = mount_.makeFile("/f", "abc");
    mount_.makeFolder("/d");
    EXPECT_EQ(&mount_.link("/f", "/d/g"), &file);
    EXPECT_EQ(&mount_.at("/d/g"), &file);
    EXPECT_EQ(linksOf("/f"), 2U);
    mount_.write(mount_.file("/d/g"), 3, "def");
    EXPECT_EQ(mount_.bytesOf(mount_.file("/f")), "abcdef");
    EXPECT_TRUE(isStored("/f"));
    EXPECT_FALSE(isStored("/d/g"));
    expectStorageAsSeen();
}

TEST_F(MountedLinkTest, ListsEachNameWithTheSameInodeNumber) {
    const Inode& file = mount_.makeFile("/f");
    mount_.link("/f", "/g");
    std::map<std::string, ino_t> numbers;
    mount_.storage().list(mount_.storage().root(), 2, MountedStorage::ListingDetail::Attributes,
                          [&](const std::string& name, const auto& entry, auto) {
                              numbers[name] = entry.status.st_ino;
                              EXPECT_EQ(entry.status.st_nlink, 2U);
                              return true;
                          });
    EXPECT_EQ(numbers, (std::map<std::string, ino_t>{{"f", file.number}, {"g", file.number}}));
    EXPECT_EQ(file.references, 2U);
}

TEST_F(MountedLinkTest, KeepsTheOtherNameWhenOneIsRemoved) {
    for (const bool removesTheFirst : {true, false}) {
        const std::string removed = removesTheFirst ? "/d/f" : "/e/g";
        const std::string left = removesTheFirst ? "/e/g" : "/d/f";
        mount_.makeFolder("/d");
        mount_.makeFolder("/e");
        const Inode& file = mount_.makeFile("/d/f", "content");
        mount_.link("/d/f", "/e/g");
        mount_.removeFile(removed);
        EXPECT_EQ(mount_.find(removed), nullptr);
        EXPECT_EQ(&mount_.at(left), &file);
        EXPECT_EQ(linksOf(left), 1U);
        EXPECT_EQ(mount_.bytesOf(mount_.file(left)), "content");
        EXPECT_TRUE(isStored(left));
        mount_.removeFolder(removesTheFirst ? "/d" : "/e");
        expectStorageAsSeen();
        mount_.removeFile(left);
        mount_.removeFolder(removesTheFirst ? "/e" : "/d");
        EXPECT_EQ(takeSnapshot(*memory_).size(), 1U);
    }
}

TEST_F(MountedLinkTest, KeepsAFileUsableWithoutNames) {
    mount_.makeFile("/f", "content");
    FileInode& file = mount_.open("/f");
    mount_.link("/f", "/g");
    mount_.link("/g", "/h");
    mount_.removeFile("/g");
    mount_.removeFile("/f");
    mount_.write(file, 0, "C");
    EXPECT_EQ(mount_.bytesOf(mount_.file("/h")), "Content");
    mount_.removeFile("/h");
    EXPECT_EQ(mount_.storage().status(file).st_nlink, 0U);
    mount_.write(file, 7, "!");
    EXPECT_EQ(mount_.bytesOf(file), "Content!");
    EXPECT_EQ(errnoOf([&] { mount_.storage().link(file, mount_.storage().root(), "f"); }), ENOENT);
    mount_.close(file);
    EXPECT_EQ(takeSnapshot(*memory_).size(), 1U);
}

TEST_F(MountedLinkTest, RenamesEachNameByItself) {
    mount_.makeFolder("/d");
    const Inode& file = mount_.makeFile("/f", "content");
    mount_.link("/f", "/g");
    mount_.rename("/g", "/d/alias");
    mount_.rename("/f", "/d/own");
    EXPECT_EQ(&mount_.at("/d/alias"), &file);
    EXPECT_EQ(&mount_.at("/d/own"), &file);
    EXPECT_EQ(mount_.find("/f"), nullptr);
    EXPECT_EQ(mount_.find("/g"), nullptr);
    EXPECT_EQ(linksOf("/d/own"), 2U);
    expectStorageAsSeen();
}

TEST_F(MountedLinkTest, DoesNothingWhenOneNameIsRenamedToTheOther) {
    const Inode& file = mount_.makeFile("/f", "content");
    mount_.link("/f", "/g");
    for (const auto& names : {std::pair("/f", "/g"), std::pair("/g", "/f")}) {
        mount_.rename(names.first, names.second);
        EXPECT_EQ(errnoOf([&] { mount_.rename(names.first, names.second, RENAME_NOREPLACE); }), EEXIST);
        EXPECT_EQ(&mount_.at("/f"), &file);
        EXPECT_EQ(&mount_.at("/g"), &file);
        EXPECT_EQ(linksOf("/f"), 2U);
    }
    expectStorageAsSeen();
}

TEST_F(MountedLinkTest, ReplacesEachNameByItself) {
    for (const std::string replaced : {"/f", "/g"}) {
        const std::string left = replaced == "/f" ? "/g" : "/f";
        mount_.makeFile("/f", "old");
        mount_.link("/f", "/g");
        mount_.makeFile("/new", "new");
        mount_.rename("/new", replaced);
        EXPECT_EQ(mount_.bytesOf(mount_.file(replaced)), "new");
        EXPECT_EQ(mount_.bytesOf(mount_.file(left)), "old");
        EXPECT_EQ(linksOf(left), 1U);
        expectStorageAsSeen();
        mount_.makeSymbolicLink("/link", "x");
        mount_.link(left, "/again");
        mount_.rename("/link", left);
        EXPECT_EQ(mount_.bytesOf(mount_.file("/again")), "old");
        expectStorageAsSeen();
        for (const std::string path : {"/f", "/g", "/again"}) {
            mount_.removeFile(path);
        }
    }
}

TEST_F(MountedLinkTest, ReplacesAnotherFileByEachName) {
    for (const std::string source : {"/f", "/g"}) {
        mount_.makeFile("/f", "new");
        mount_.link("/f", "/g");
        mount_.makeFile("/target", "old");
        FileInode& old = mount_.open("/target");
        mount_.rename(source, "/target");
        EXPECT_EQ(mount_.find(source), nullptr);
        EXPECT_EQ(mount_.bytesOf(mount_.file("/target")), "new");
        EXPECT_EQ(linksOf("/target"), 2U);
        EXPECT_EQ(mount_.bytesOf(old), "old");
        mount_.close(old);
        expectStorageAsSeen();
        mount_.removeFile("/target");
        mount_.removeFile(source == "/f" ? "/g" : "/f");
    }
}

TEST_F(MountedLinkTest, RefusesImpossibleLinks) {
    mount_.makeFile("/f");
    mount_.makeFolder("/d");
    mount_.makeSymbolicLink("/link", "x");
    EXPECT_EQ(errnoOf([&] { mount_.link("/d", "/e"); }), EPERM);
    EXPECT_EQ(errnoOf([&] { mount_.link("/f", "/d"); }), EEXIST);
    EXPECT_EQ(errnoOf([&] { mount_.link("/f", "/link"); }), EEXIST);
    EXPECT_EQ(errnoOf([&] { mount_.link("/f", "/f"); }), EEXIST);
    EXPECT_EQ(errnoOf([&] { mount_.link("/f", "/" + std::string(256, 'x')); }), ENAMETOOLONG);
    const auto removed = mount_.storage().lookUp(mount_.storage().root(), "d");
    mount_.removeFolder("/d");
    auto& folder = static_cast<FolderInode&>(*removed.inode);
    EXPECT_EQ(errnoOf([&] { mount_.storage().link(mount_.at("/f"), folder, "g"); }), ENOENT);
    mount_.storage().release(folder, 1);
    EXPECT_EQ(linksOf("/f"), 1U);
    expectStorageAsSeen();
}

TEST_F(MountedLinkTest, UpdatesTheTimesOfInodeAndFolder) {
    mount_.makeFolder("/d");
    Inode& file = mount_.makeFile("/f");
    mount_.setModified(mount_.at("/d"), pastTime);
    EXPECT_TRUE(changes(file, [&] { mount_.link("/f", "/d/g"); }));
    EXPECT_FALSE(mount_.modifiedOf(mount_.at("/d")) == pastTime);
    EXPECT_TRUE(changes(file, [&] { mount_.rename("/d/g", "/d/h"); }));
    mount_.setModified(mount_.at("/d"), pastTime);
    EXPECT_TRUE(changes(file, [&] { mount_.removeFile("/f"); }));
    EXPECT_EQ(mount_.modifiedOf(mount_.at("/d")), pastTime)
        << "moving the stored file to the other name must not modify that folder";
    EXPECT_FALSE(mount_.modifiedOf(mount_.at("/")) == pastTime);
    mount_.link("/d/h", "/g");
    EXPECT_TRUE(changes(file, [&] { mount_.removeFile("/g"); }));
    mount_.close(mount_.open("/d/h"));
    FileInode& open = mount_.open("/d/h");
    EXPECT_TRUE(changes(file, [&] { mount_.removeFile("/d/h"); }));
    mount_.close(open);
    expectStorageAsSeen();
}

TEST_F(MountedLinkTest, RefusesToRemoveAFolderWithAnAlias) {
    mount_.makeFolder("/d");
    mount_.makeFolder("/empty");
    mount_.makeFile("/f", "content");
    mount_.link("/f", "/d/g");
    EXPECT_EQ(errnoOf([&] { mount_.removeFolder("/d"); }), ENOTEMPTY);
    EXPECT_EQ(errnoOf([&] { mount_.rename("/empty", "/d"); }), ENOTEMPTY);
    mount_.rename("/d", "/empty");
    EXPECT_EQ(&mount_.at("/empty/g"), &mount_.at("/f"));
    mount_.removeFile("/f");
    EXPECT_EQ(mount_.bytesOf(mount_.file("/empty/g")), "content");
    expectStorageAsSeen();
}

TEST_F(MountedLinkTest, MovesTheFolderOfTheOwnName) {
    mount_.makeFolder("/d");
    mount_.makeFile("/d/f", "content");
    mount_.link("/d/f", "/g");
    mount_.rename("/d", "/e");
    EXPECT_EQ(mount_.bytesOf(mount_.file("/g")), "content");
    mount_.removeFile("/e/f");
    mount_.removeFolder("/e");
    EXPECT_EQ(mount_.bytesOf(mount_.file("/g")), "content");
    expectStorageAsSeen();
}

TEST_F(MountedLinkTest, TrimsATruncatedFileAtItsNewPlace) {
    mount_.makeFile("/f", std::string(300'000, 'x'));
    mount_.link("/f", "/g");
    mount_.removeFile("/f");
    mount_.resize(mount_.file("/g"), 100'000);
    EXPECT_EQ(storedSize("/g"), 100'000U);
    mount_.resize(mount_.file("/g"), 99'000);
    mount_.link("/g", "/f");
    mount_.removeFile("/g");
    EXPECT_EQ(mount_.bytesOf(mount_.file("/f")), std::string(99'000, 'x'));
    expectStorageAsSeen();
    EXPECT_EQ(storedSize("/f"), 99'000U);
}

TEST_F(MountedLinkTest, LinksEveryKindButFolders) {
    mount_.makeSymbolicLink("/link", "target");
    mount_.makeNode("/fifo", S_IFIFO | 0600U);
    mount_.makeFolder("/d");
    for (const std::string name : {"/link", "/fifo"}) {
        const Inode& inode = mount_.at(name);
        mount_.link(name, "/d" + name);
        mount_.link(name, "/other");
        mount_.removeFile(name);
        EXPECT_EQ(&mount_.at("/d" + name), &inode);
        EXPECT_EQ(&mount_.at("/other"), &inode);
        mount_.rename("/other", name);
        mount_.removeFile("/d" + name);
        EXPECT_EQ(&mount_.at(name), &inode);
        EXPECT_EQ(linksOf(name), 1U);
    }
    EXPECT_EQ(MountedStorage::readLink(mount_.at("/link")), "target");
    expectStorageAsSeen();
}

TEST_F(MountedLinkTest, KeepsTheFlagsOfReadOnlyEntries) {
    mount_.makeFolder("/d");
    mount_.makeFolder("/e");
    mount_.makeFile("/d/f", "content", 0444);
    mount_.setPermissions(mount_.at("/d"), 0555);
    mount_.setPermissions(mount_.at("/e"), 0555);
    mount_.link("/d/f", "/e/g");
    mount_.removeFile("/d/f");
    EXPECT_EQ(mount_.bytesOf(mount_.file("/e/g")), "content");
    EXPECT_FALSE(stored("/e/g").isWritable);
    EXPECT_FALSE(stored("/d").isWritable);
    EXPECT_FALSE(stored("/e").isWritable);
    expectStorageAsSeen();
}

TEST_F(MountedLinkTest, RemovesThousandsOfNamesInAnyOrder) {
    constexpr unsigned count = 3000;
    mount_.makeFile("/0", "content");
    std::vector<std::string> names{"/0"};
    for (unsigned i = 1; i < count; ++i) {
        names.push_back("/" + std::to_string(i));
        mount_.link(names[i / 2], names[i]);
    }
    EXPECT_EQ(linksOf("/0"), count);
    std::shuffle(names.begin(), names.end(), std::mt19937(1));
    for (unsigned i = 0; i + 1 < count; ++i) {
        mount_.removeFile(names[i]);
    }
    EXPECT_EQ(linksOf(names.back()), 1U);
    EXPECT_EQ(mount_.bytesOf(mount_.file(names.back())), "content");
    expectStorageAsSeen();
}

TEST_F(MountedLinkTest, CountsSubfoldersWhenTheyAreKnown) {
    memory_->doCreateFolder(provider::StorageIRI(u"/d"));
    memory_->doCreateFolder(provider::StorageIRI(u"/d/s"));
    EXPECT_EQ(linksOf("/d"), 1U) << "not known";
    mount_.makeFile("/d/f");
    mount_.namesIn(mount_.folder("/d"));
    EXPECT_EQ(linksOf("/d"), 3U);
    mount_.makeFolder("/d/t");
    EXPECT_EQ(linksOf("/d"), 4U);
    mount_.makeFolder("/e");
    EXPECT_EQ(linksOf("/e"), 2U);
    mount_.rename("/d/t", "/e/t");
    EXPECT_EQ(linksOf("/d"), 3U);
    EXPECT_EQ(linksOf("/e"), 3U);
    mount_.makeFolder("/d/u");
    mount_.rename("/d/u", "/e/t");
    mount_.rename("/d/s", "/d/v");
    EXPECT_EQ(linksOf("/d"), 3U);
    EXPECT_EQ(linksOf("/e"), 3U);
    mount_.removeFolder("/d/v");
    EXPECT_EQ(linksOf("/d"), 2U);
}

/// Threads add and remove names while others read by the permanent name.
TEST_F(MountedLinkTest, ChangesNamesWhileTheFileIsUsed) {
    constexpr int rounds = 300;
    mount_.makeFolder("/d");
    mount_.makeFile("/stays", "content");
    std::atomic<bool> ended = false;
    std::atomic<int> wrong = 0;
    const auto changeNames = [&](const std::string& name) {
        for (int i = 0; i < rounds; ++i) {
            mount_.link("/stays", "/d/" + name);
            mount_.removeFile("/stays-" + name);
            mount_.rename("/d/" + name, "/stays-" + name);
        }
        ended = true;
    };
    const auto use = [&] {
        do {
            FileInode& file = mount_.open("/stays");
            wrong += mount_.bytesOf(file).starts_with("content") ? 0 : 1;
            mount_.write(file, 7, "more");
            mount_.resize(file, 7);
            wrong += mount_.storage().status(file).st_nlink > 0 ? 0 : 1;
            mount_.close(file);
        } while (!ended);
    };
    mount_.link("/stays", "/stays-a");
    mount_.link("/stays", "/stays-b");
    runTogether({[&] { changeNames("a"); }, [&] { changeNames("b"); }, use, use});
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(linksOf("/stays"), 3U);
    expectStorageAsSeen();
}

/// An operation on links.
struct LinkUse {
    std::string name;
    std::function<void(MountedTree&)> run;
};

void PrintTo(const LinkUse& use, std::ostream* out) {
    *out << use.name;
}

const std::vector<LinkUse> linkUses{
    {"link", [](MountedTree& mount) { mount.link("/d/f", "/d/new"); }},
    {"link in a read-only folder", [](MountedTree& mount) { mount.link("/d/f", "/r/new"); }},
    {"remove the own name", [](MountedTree& mount) { mount.removeFile("/d/f"); }},
    {"remove an alias", [](MountedTree& mount) { mount.removeFile("/e/alias"); }},
    {"remove the own name in a read-only folder", [](MountedTree& mount) { mount.removeFile("/r/own"); }},
    {"rename the own name", [](MountedTree& mount) { mount.rename("/d/f", "/e/new"); }},
    {"rename an alias", [](MountedTree& mount) { mount.rename("/e/alias", "/d/new"); }},
    {"replace the own name", [](MountedTree& mount) { mount.rename("/other", "/d/f"); }},
    {"replace an alias", [](MountedTree& mount) { mount.rename("/other", "/e/alias"); }},
    {"replace a file by the own name", [](MountedTree& mount) { mount.rename("/d/f", "/other"); }},
    {"replace a file by an alias", [](MountedTree& mount) { mount.rename("/e/alias", "/other"); }},
    {"replace the own name by an alias", [](MountedTree& mount) { mount.rename("/e/alias", "/r/own"); }},
    {"replace a file by a symbolic link", [](MountedTree& mount) { mount.rename("/link", "/other"); }},
    {"replace a symbolic link by a file", [](MountedTree& mount) { mount.rename("/other", "/link"); }},
};

/// Fails each operation of the storage in turn.
class MountedLinkFailureTest : public MountedLinkTest, public testing::WithParamInterface<LinkUse> {
protected:
    static void fill(MountedTree& mount) {
        for (const std::string folder : {"/d", "/e", "/r"}) {
            mount.makeFolder(folder);
        }
        mount.makeFile("/d/f", "linked");
        mount.link("/d/f", "/e/alias");
        mount.makeFile("/r/own", "read-only", 0444);
        mount.link("/r/own", "/d/other");
        mount.makeFile("/other", "other");
        mount.makeSymbolicLink("/link", "x");
        mount.setPermissions(mount.at("/r"), 0555);
        mount.storage().settle(); // closes streams
    }

    /// Ignores times and flags of folders: if they cannot be restored, the operation still succeeds.
    static void expectStorageToHold(MountedTree& mount, const provider::IProvider& provider) {
        EXPECT_EQ(mount.storage().settle().failures.size(), 0U);
        const TreeSnapshot stored = takeSnapshot(provider);
        EXPECT_EQ(contentsOf(stored), contentsOf(seenInStorage(mount, stored)));
    }
};

TEST_P(MountedLinkFailureTest, ChangesNothing) {
    fill(mount_);
    const TreeSnapshot before = withoutTimes(mount_.snapshot());
    GetParam().run(mount_);
    const TreeSnapshot after = withoutTimes(mount_.snapshot());
    int failures = 0;
    for (int number = 1;; ++number) {
        SCOPED_TRACE("operation " + std::to_string(number));
        const auto memory = sharedProvider(TEST_PLUGIN);
        StepwiseProvider provider(memory);
        MountedTree mount(provider);
        fill(mount);
        int error = 0;
        {
            const FailingStep step(provider, number, [] { throw std::bad_alloc(); });
            error = errnoOf([&] { GetParam().run(mount); });
            if (!step.happened()) {
                break;
            }
        }
        failures += error == 0 ? 0 : 1;
        EXPECT_EQ(withoutTimes(mount.snapshot()), error == 0 ? after : before);
        expectStorageToHold(mount, *memory);
        if (error != 0) {
            GetParam().run(mount);
            EXPECT_EQ(withoutTimes(mount.snapshot()), after);
            expectStorageToHold(mount, *memory);
        }
    }
    RecordProperty("failures", failures);
}

std::string nameOfLinkUse(const testing::TestParamInfo<LinkUse>& info) {
    std::string name = info.param.name;
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == ' ' || c == '-'; }, '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(OfEveryOperation, MountedLinkFailureTest, testing::ValuesIn(linkUses),
                         nameOfLinkUse);

} // namespace

} // namespace storage::tests
