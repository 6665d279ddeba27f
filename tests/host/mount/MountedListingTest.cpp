#include "tests/host/mount/MountedStorageTest.h"

#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <cerrno>
#include <set>

namespace storage::tests {

namespace {

using provider::StorageIRI;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::UnorderedElementsAre;
using Detail = host::MountedStorage::ListingDetail;

/// Listings that programs read in pieces while others change the folder.
class MountedListingTest : public MountedStorageTest {
protected:
    /// Reads one piece of a listing: at most `room` entries from `position`. Advances `position`.
    std::vector<std::string> piece(FolderInode& folder, std::uint64_t& position, std::size_t room,
                                   Detail detail = Detail::Names) {
        std::vector<std::string> names;
        mount_.storage().list(folder, position, detail,
                              [&](const std::string& name, const auto&, std::uint64_t next) {
                                  if (names.size() == room) {
                                      return false;
                                  }
                                  names.push_back(name);
                                  position = next;
                                  return true;
                              });
        return names;
    }

    void makeFiles(const std::string& folder, int from, int to) {
        for (int i = from; i < to; ++i) {
            mount_.makeFile(folder + '/' + std::to_string(i));
        }
    }
};

TEST_F(MountedListingTest, BeginsWithTheFolderAndItsParent) {
    FolderInode& folder = mount_.makeFolder("/d");
    mount_.makeFile("/d/f");
    std::vector<std::pair<std::string, ino_t>> entries;
    mount_.storage().list(folder, 0, Detail::Attributes,
                          [&](const std::string& name, const auto& entry, auto) {
                              entries.emplace_back(name, entry.status.st_ino);
                              return true;
                          });
    EXPECT_THAT(entries, ElementsAre(std::pair(".", folder.number), std::pair("..", mount_.at("/").number),
                                     std::pair("f", mount_.at("/d/f").number)));
    std::uint64_t position = 0;
    EXPECT_THAT(piece(mount_.storage().root(), position, 10), ElementsAre(".", "..", "d"));
}

TEST_F(MountedListingTest, ListsExistingAndNewEntries) {
    memory_->doCreateFile(StorageIRI(u"/old"));
    memory_->doCreateFolder(StorageIRI(u"/folder"));
    mount_.makeFile("/new");
    mount_.at("/old");
    EXPECT_THAT(mount_.namesIn(mount_.storage().root()), UnorderedElementsAre("old", "folder", "new"));
    mount_.makeFile("/newer");
    mount_.removeFile("/old");
    EXPECT_THAT(mount_.namesIn(mount_.storage().root()), UnorderedElementsAre("folder", "new", "newer"));
}

TEST_F(MountedListingTest, DistinguishesFilesFromFolders) {
    mount_.makeFile("/f", "abc");
    mount_.makeFolder("/d");
    for (const Detail detail : {Detail::Names, Detail::Attributes}) {
        mount_.storage().list(mount_.storage().root(), 2, detail,
                              [&](const std::string& name, const auto& entry, auto) {
                                  EXPECT_EQ(entry.status.st_mode & S_IFMT, name == "d" ? S_IFDIR : S_IFREG);
                                  EXPECT_EQ(entry.status.st_ino, mount_.at("/" + name).number);
                                  EXPECT_EQ(entry.inode, &mount_.at("/" + name));
                                  return true;
                              });
    }
}

TEST_F(MountedListingTest, ReturnsTheAttributesOfALookup) {
    mount_.makeFile("/f", "abc", 0600);
    mount_.setModified(mount_.at("/f"), pastTime);
    mount_.storage().list(mount_.storage().root(), 2, Detail::Attributes,
                          [&](const std::string&, const auto& entry, auto) {
                              EXPECT_EQ(entry.status.st_size, 3);
                              EXPECT_EQ(entry.status.st_mode, S_IFREG | 0600U);
                              EXPECT_EQ(entry.status.st_mtim, pastTime);
                              return true;
                          });
}

TEST_F(MountedListingTest, ContinuesWhereItStopped) {
    makeFiles("", 0, 20);
    for (std::size_t room = 1; room < 25; ++room) {
        std::vector<std::string> all;
        std::uint64_t position = 0;
        for (auto part = piece(mount_.storage().root(), position, room); !part.empty();
             part = piece(mount_.storage().root(), position, room)) {
            all.insert(all.end(), part.begin(), part.end());
        }
        EXPECT_EQ(all.size(), 22U) << room;
        EXPECT_EQ(std::set(all.begin(), all.end()).size(), 22U) << room;
    }
}

TEST_F(MountedListingTest, MissesAndRepeatsNothingWhileTheFolderChanges) {
    mount_.makeFolder("/d");
    makeFiles("/d", 0, 60);
    std::set<std::string> seen;
    std::uint64_t position = 0;
    int round = 0;
    for (auto part = piece(mount_.folder("/d"), position, 7); !part.empty();
         part = piece(mount_.folder("/d"), position, 7), ++round) {
        for (const std::string& name : part) {
            EXPECT_TRUE(seen.insert(name).second) << name << " twice";
        }
        makeFiles("/d", 100 + round, 101 + round);
        mount_.removeFile("/d/" + std::to_string(round));
    }
    for (int i = round; i < 60; ++i) {
        EXPECT_EQ(seen.count(std::to_string(i)), 1U) << i;
    }
    EXPECT_LT(round, 30) << "new entries must not prolong the listing";
}

TEST_F(MountedListingTest, EndsWhenAllListedEntriesAreRenamed) {
    mount_.makeFolder("/d");
    makeFiles("/d", 0, 20);
    std::uint64_t position = 0;
    int met = 0;
    for (auto part = piece(mount_.folder("/d"), position, 1); !part.empty();
         part = piece(mount_.folder("/d"), position, 1)) {
        if (part.front() != "." && part.front() != "..") {
            ++met;
            mount_.rename("/d/" + part.front(), "/d/renamed-" + std::to_string(met));
        }
        ASSERT_LE(met, 20);
    }
    EXPECT_EQ(met, 20);
}

TEST_F(MountedListingTest, ListsAFolderWhileItIsEmptied) {
    makeFiles("", 0, 100);
    std::uint64_t position = 2;
    for (auto part = piece(mount_.storage().root(), position, 10); !part.empty();
         part = piece(mount_.storage().root(), position, 10)) {
        for (const std::string& name : part) {
            mount_.removeFile("/" + name);
        }
    }
    EXPECT_THAT(mount_.namesIn(mount_.storage().root()), IsEmpty());
}

TEST_F(MountedListingTest, OmitsNamesThatProgramsCannotUse) {
    for (const std::u16string name :
         {u"\xD800", u"a\xDC00z", u"\xDCC3\xDCA4", u"good", u"caf\xDCE9", u"\xD83D\xDE00"}) {
        memory_->doCreateFile(StorageIRI(u'/' + name));
    }
    memory_->doCreateFolder(StorageIRI(u'/' + std::u16string(200, u'€')));
    EXPECT_THAT(mount_.namesIn(mount_.storage().root()), UnorderedElementsAre("good", "caf\xE9", "😀"));
    mount_.storage().settle();
    EXPECT_EQ(memory_->doListAllNamesOnly(StorageIRI(u"/")).size(), 7U) << "they stay in the storage";
}

TEST_F(MountedListingTest, CountsReferencesOnlyForAcceptedAttributes) {
    makeFiles("", 0, 5);
    const auto referencesOf = [&](int i) { return mount_.at("/" + std::to_string(i)).references.load(); };
    std::uint64_t position = 0;
    piece(mount_.storage().root(), position, 100, Detail::Names);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(referencesOf(i), 0U);
    }
    position = 0;
    piece(mount_.storage().root(), position, 4, Detail::Attributes); // ".", ".." and two more
    EXPECT_EQ(referencesOf(4), 1U);
    EXPECT_EQ(referencesOf(3), 1U);
    EXPECT_EQ(referencesOf(2), 0U) << "it did not fit in the buffer";
    EXPECT_EQ(mount_.storage().root().references, 0U);
}

/// If a listing fails, the kernel gets none of the entries, so it never releases their references.
TEST_F(MountedListingTest, LeavesNoReferenceAfterAFailure) {
    for (const auto* const path : {u"/a", u"/b", u"/c"}) {
        memory_->doCreateFile(StorageIRI(path));
    }
    mount_.namesIn(mount_.storage().root());
    std::uint64_t position = 0;
    const std::string second = '/' + piece(mount_.storage().root(), position, 4).back();
    int queries = 0;
    provider_.before = [&](const std::string& operation, const StorageIRI& iri) {
        if (operation == "getFileAttributes" && ++queries == 2) {
            throw provider::Exception(provider::ErrorCode::NotFound, iri);
        }
    };
    position = 0;
    std::vector<std::string> taken;
    const int error =
        errnoOf([&] { taken = piece(mount_.storage().root(), position, 10, Detail::Attributes); });
    std::size_t references = 0;
    for (const char* const path : {"/a", "/b", "/c"}) {
        references += mount_.at(path).references;
    }
    EXPECT_EQ(references, error == 0 ? taken.size() - 2 : 0U) << "error " << error;
}

TEST_F(MountedListingTest, FailsWhenTheFirstEntryFails) {
    memory_->doCreateFile(StorageIRI(u"/a"));
    provider_.before = [](const std::string& operation, const StorageIRI& iri) {
        if (operation == "getFileAttributes") {
            throw provider::Exception(provider::ErrorCode::NotFound, iri);
        }
    };
    std::uint64_t position = 2;
    EXPECT_EQ(errnoOf([&] { piece(mount_.storage().root(), position, 10, Detail::Attributes); }), ENOENT);
}

TEST_F(MountedListingTest, ReportsFailuresOfTheStorageAndRecovers) {
    memory_->doCreateFile(StorageIRI(u"/a"));
    memory_->doCreateFile(StorageIRI(u"/b"));
    for (const char* const failing : {"listAll", "hasNext", "step", "getEntry"}) {
        provider_.before = [&](const std::string& operation, const StorageIRI& iri) {
            if (operation == failing) {
                throw provider::Exception(static_cast<provider::ErrorCode>(77), iri);
            }
        };
        EXPECT_EQ(errnoOf([&] { mount_.namesIn(mount_.storage().root()); }), EIO) << failing;
    }
    provider_.before = [](const char*, const auto&) {};
    EXPECT_THAT(mount_.namesIn(mount_.storage().root()), UnorderedElementsAre("a", "b"));
}

} // namespace

} // namespace storage::tests
