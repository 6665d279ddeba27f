// Every change is atomic for other threads. A listing delays only changes in its own folder, and a read or
// write only operations on its own file. The tests stop a change between two steps, or hold a node's mutex.

#include "hostapi/storage/provider/ByteStreamOpenOptions.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "inmemoryprovider/EntryNotFoundException.h"
#include "inmemoryprovider/InMemoryProvider.h"
#include "tests/support/Answer.h"
#include "tests/support/RunTogether.h"
#include "tests/support/SleepingCall.h"
#include "tests/support/UnlockHook.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

namespace storage::inmemoryprovider::change_visibility_test {
namespace {

using provider::EntryExistence;
using provider::ReplacementPolicy;
using provider::StorageIRI;
using tests::answerOf;
using tests::runTogether;
using tests::startUntilAsleep;
using tests::UnlockHook;

using Path = std::u16string;
using Names = std::vector<Path>;

/// Holds a folder's mutex until it is released, as a long listing does.
class HeldFolder {
public:
    explicit HeldFolder(const std::shared_ptr<InMemoryFolderEntry>& folder)
        : holder_([this, folder] {
              folder->read([this](const auto&) {
                  held_.set_value();
                  release_.get_future().wait();
              });
          }) {
        held_.get_future().wait();
    }
    HeldFolder(const HeldFolder&) = delete;
    HeldFolder& operator=(const HeldFolder&) = delete;
    ~HeldFolder() { release(); }

    void release() {
        if (holder_.joinable()) {
            release_.set_value();
            holder_.join();
        }
    }

private:
    std::promise<void> held_;
    std::promise<void> release_;
    std::thread holder_;
};

void waitUntil(const std::function<bool()>& condition) {
    while (!condition()) {
        std::this_thread::yield();
    }
}

void yieldOften() {
    for (int yields = 0; yields < 20; ++yields) {
        std::this_thread::yield();
    }
}

/// Runs a change in its own thread and stops it between two steps, once `isMidway` returns true.
class ChangeMidway {
public:
    ChangeMidway(const std::function<void()>& change, const std::function<bool()>& isMidway)
        : changing_([this, change, isMidway] {
              bool stopped = false;
              {
                  const UnlockHook hook([&] {
                      if (!stopped && isMidway()) {
                          stopped = true;
                          reached_.set_value();
                          goOn_.get_future().wait();
                      }
                  });
                  change();
              }
              EXPECT_TRUE(stopped);
              if (!stopped) {
                  reached_.set_value();
              }
          }) {
        reached_.get_future().wait();
    }
    ChangeMidway(const ChangeMidway&) = delete;
    ChangeMidway& operator=(const ChangeMidway&) = delete;
    ~ChangeMidway() { finish(); }

    void finish() {
        if (changing_.joinable()) {
            goOn_.set_value();
            changing_.join();
        }
    }

private:
    std::promise<void> reached_;
    std::promise<void> goOn_;
    std::thread changing_;
};

/// A file system in which a thread makes a change that is stopped midway or waits for a folder in use.
class HeldChangeTest : public testing::Test {
protected:
    static InMemoryEntryPath path(const Path& text) { return InMemoryEntryPath(text); }

    std::shared_ptr<InMemoryFolderEntry> folder(const Path& text) {
        return fileSystem.getFolderEntry(path(text));
    }

    /// Returns the node itself, even during a change.
    std::shared_ptr<InMemoryEntry> nodeIn(const Path& parent, const Path& text) {
        return folder(parent)->getEntry(path(text));
    }

    void SetUp() override {
        for (const auto* text : {u"/d", u"/e", u"/z", u"/a", u"/a/s"}) {
            fileSystem.addFolderEntry(path(text));
        }
        for (const auto* text : {u"/d/x", u"/e/y", u"/e/other", u"/z/f", u"/a/f", u"/a/s/f"}) {
            fileSystem.addFileEntry(path(text));
        }
    }

    Names listed(const Path& text) {
        Names names;
        if (const auto listing = fileSystem.listFolder(path(text))) {
            for (const auto& [child, nameAndKind] : *listing) {
                names.push_back(child.filename());
            }
        }
        return names;
    }

    bool exists(const Path& text) { return fileSystem.getEntry(text) != nullptr; }
    bool isOpened(const Path& text) {
        try {
            return fileSystem.checkOutFileEntry(path(text)) != nullptr;
        } catch (const EntryNotFoundException&) {
            return false;
        }
    }

    /// Accesses paths outside the changing subtree and outside its parent folder. These calls must not block:
    /// if one does, the test never ends.
    void expectElsewhereGoesOn() {
        EXPECT_TRUE(exists(u"/z/f"));
        EXPECT_FALSE(exists(u"/z/missing"));
        EXPECT_FALSE(exists(u"/missing/f"));
        EXPECT_TRUE(isOpened(u"/z/f"));
        EXPECT_FALSE(isOpened(u"/missing/f"));
        EXPECT_TRUE(fileSystem.getFileEntryAttributes(path(u"/z/f")).writable);
        EXPECT_TRUE(fileSystem.getFolderEntryAttributes(u"/z").writable);
        EXPECT_EQ(listed(u"/z"), (Names{u"f"}));
        EXPECT_TRUE(exists(u"/d"));
        EXPECT_TRUE(exists(u"/e"));
        EXPECT_NE(folder(u"/z"), nullptr);
        EXPECT_EQ(folder(u"/z/f"), nullptr);
    }

    /// Starts `operation`, which needs a node in use, in its own thread. Expects that it sleeps, and that
    /// neither changes nor queries elsewhere block.
    std::future<void> expectBlocksNoChangeElsewhere(const std::function<void()>& operation) {
        auto running = startUntilAsleep(operation);
        fileSystem.addFolderEntry(path(u"/z/new"));
        fileSystem.addFileEntry(path(u"/z/new/file"));
        fileSystem.moveFileEntry(path(u"/z/new/file"), path(u"/z/file"), ReplacementPolicy::RefuseExisting);
        fileSystem.removeFileEntry(path(u"/z/file"));
        fileSystem.removeFolderEntry(path(u"/z/new"));
        expectElsewhereGoesOn();
        EXPECT_EQ(running.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
        return running;
    }

    InMemoryFileSystem fileSystem;
};

TEST_F(HeldChangeTest, AllowsChangesElsewhereWhileALookUpIsBlocked) {
    HeldFolder held(folder(u"/d"));
    auto lookUp = startUntilAsleep([&] { return exists(u"/d/x"); });
    fileSystem.addFolderEntry(path(u"/z/new"));
    fileSystem.removeFolderEntry(path(u"/z/new"));
    held.release();
    EXPECT_TRUE(lookUp.get());
}

TEST_F(HeldChangeTest, FindsNoFolderWithoutItsFilesAfterWaitingForIt) {
    for (int round = 0; round < 100; ++round) {
        HeldFolder held(folder(u"/d"));
        auto move = startUntilAsleep([&] {
            fileSystem.moveFolderEntry(path(u"/d"), path(u"/moved"), ReplacementPolicy::RefuseExisting);
        });
        auto missing = startUntilAsleep([&] {
            try {
                fileSystem.getFileEntryAttributes(u"/d/x");
                return Path();
            } catch (const EntryNotFoundException& error) {
                return error.getMessage();
            }
        });
        held.release();
        move.get();
        const Path message = missing.get();
        EXPECT_TRUE(message.empty() || message == EntryNotFoundException(path(u"/d")).getMessage());
        fileSystem.moveFolderEntry(path(u"/moved"), path(u"/d"), ReplacementPolicy::RefuseExisting);
    }
}

TEST_F(HeldChangeTest, ReadsTheTimeOfAFolderBeforeAMoveCanStampIt) {
    const boost::posix_time::ptime pastTime(boost::gregorian::date(2001, 2, 3));
    const boost::posix_time::ptime timeOfMove(boost::gregorian::date(2002, 3, 4));
    const auto moved = folder(u"/d");
    moved->setLastModifiedTime(pastTime);
    FolderEntryAttributes attributes;
    {
        // A move can begin when the parent's mutex is released. It stamps the folder that it empties.
        const UnlockHook hook([&] { moved->setLastModifiedTime(timeOfMove); });
        attributes = fileSystem.getFolderEntryAttributes(u"/d");
    }
    EXPECT_EQ(attributes.lastModified, pastTime);
    EXPECT_EQ(moved->getLastModifiedTime(), timeOfMove);
}

TEST_F(HeldChangeTest, KeepsAReplacedFileVisibleDuringTheMove) {
    const auto replaced = nodeIn(u"/e", u"/e/y");
    ChangeMidway move(
        [&] { fileSystem.moveFileEntry(path(u"/d/x"), path(u"/e/y"), ReplacementPolicy::ReplaceExisting); },
        [&] { return nodeIn(u"/e", u"/e/y") != replaced; });
    expectElsewhereGoesOn();
    EXPECT_TRUE(exists(u"/e/other"));

    auto targetExists = startUntilAsleep([&] { return exists(u"/e/y"); });
    auto targetOpened = startUntilAsleep([&] { return isOpened(u"/e/y"); });
    auto targetListed = startUntilAsleep([&] { return listed(u"/e"); });
    auto sourceExists = startUntilAsleep([&] { return exists(u"/d/x"); });
    auto sourceListed = startUntilAsleep([&] { return listed(u"/d"); });
    move.finish();
    EXPECT_TRUE(targetExists.get());
    EXPECT_TRUE(targetOpened.get());
    EXPECT_EQ(targetListed.get(), (Names{u"other", u"y"}));
    EXPECT_FALSE(sourceExists.get());
    EXPECT_EQ(sourceListed.get(), Names());
}

TEST_F(HeldChangeTest, ShowsAFolderUnderOnePathDuringItsMove) {
    ChangeMidway move(
        [&] { fileSystem.moveFolderEntry(path(u"/a"), path(u"/b"), ReplacementPolicy::RefuseExisting); },
        [&] { return folder(u"/b") && nodeIn(u"/b", u"/b/f"); });
    expectElsewhereGoesOn();

    // All of these depend on the move, so they wait until it ends.
    std::vector<std::future<void>> answers;
    const auto expectAtEnd = [&](const std::function<void()>& expectation) {
        answers.push_back(startUntilAsleep(expectation));
    };
    expectAtEnd([&] { EXPECT_EQ(listed(u"/"), (Names{u"b", u"d", u"e", u"z"})); });
    expectAtEnd([&] { EXPECT_EQ(listed(u"/a"), Names()); });
    expectAtEnd([&] { EXPECT_EQ(listed(u"/a/s"), Names()); });
    expectAtEnd([&] { EXPECT_EQ(listed(u"/b"), (Names{u"f", u"s"})); });
    expectAtEnd([&] { EXPECT_FALSE(exists(u"/a")); });
    expectAtEnd([&] { EXPECT_FALSE(exists(u"/a/f")); });
    expectAtEnd([&] { EXPECT_FALSE(exists(u"/a/s/f")); });
    expectAtEnd([&] { EXPECT_TRUE(exists(u"/b")); });
    expectAtEnd([&] { EXPECT_TRUE(exists(u"/b/s/f")); });
    expectAtEnd([&] { EXPECT_TRUE(isOpened(u"/b/f")); });
    expectAtEnd([&] { EXPECT_FALSE(isOpened(u"/a/f")); });
    for (const auto& answer : answers) {
        EXPECT_EQ(answer.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    }
    move.finish();
}

/// A move stamps the folder that it empties before it removes it.
TEST_F(HeldChangeTest, ReturnsNoAttributesOfAFolderDuringItsMove) {
    for (int round = 0; round < 40; ++round) {
        ChangeMidway move(
            [&] { fileSystem.moveFolderEntry(path(u"/a"), path(u"/b"), ReplacementPolicy::RefuseExisting); },
            [&] { return folder(u"/b") && nodeIn(u"/b", u"/b/f"); });
        std::optional<HeldFolder> parentInUse;
        if (round % 2 == 0) {
            parentInUse.emplace(folder(u"/"));
        }
        auto attributes = startUntilAsleep([&] { return fileSystem.getFolderEntryAttributes(u"/a"); });
        parentInUse.reset();
        yieldOften(); // by now the other thread waits for the move in most rounds
        move.finish();
        EXPECT_THROW(attributes.get(), EntryNotFoundException);
        fileSystem.moveFolderEntry(path(u"/b"), path(u"/a"), ReplacementPolicy::RefuseExisting);
    }
}

TEST_F(HeldChangeTest, FindsTheFolderOfAFileWhileItIsReplaced) {
    for (int round = 0; round < 20; ++round) {
        fileSystem.addFolderEntry(path(u"/empty"));
        ChangeMidway move(
            [&] {
                fileSystem.moveFolderEntry(path(u"/a"), path(u"/empty"), ReplacementPolicy::ReplaceExisting);
            },
            [&] { return folder(u"/empty") == nullptr; });
        auto attributes = startUntilAsleep([&] { return fileSystem.getFileEntryAttributes(u"/empty/f"); });
        move.finish();
        EXPECT_NO_THROW(attributes.get());
        fileSystem.moveFolderEntry(path(u"/empty"), path(u"/a"), ReplacementPolicy::RefuseExisting);
    }
}

TEST_F(HeldChangeTest, ListsTheFolderThatReplacesAFolderInUse) {
    for (int round = 0; round < 20; ++round) {
        fileSystem.addFolderEntry(path(u"/empty"));
        HeldFolder held(folder(u"/empty"));
        auto listing = startUntilAsleep([&] { return fileSystem.listFolder(path(u"/empty")); });
        fileSystem.moveFolderEntry(path(u"/a"), path(u"/empty"), ReplacementPolicy::ReplaceExisting);
        held.release();
        EXPECT_TRUE(listing.get());
        fileSystem.moveFolderEntry(path(u"/empty"), path(u"/a"), ReplacementPolicy::RefuseExisting);
    }
}

/// Of several listings that wait for the folder, some continue after the move in most rounds.
TEST_F(HeldChangeTest, ListsAllFilesOfAFolderThatMovesOrFindsNoFolder) {
    constexpr int readers = 6;
    for (int round = 0; round < 50; ++round) {
        HeldFolder held(folder(u"/d"));
        std::atomic<int> begun = 0;
        auto move = std::async(std::launch::async, [&] {
            ++begun;
            fileSystem.moveFolderEntry(path(u"/d"), path(u"/moved"), ReplacementPolicy::RefuseExisting);
        });
        std::vector<std::future<bool>> areWhole;
        for (int reader = 0; reader < readers; ++reader) {
            areWhole.push_back(std::async(std::launch::async, [&] {
                ++begun;
                const auto names = fileSystem.listFolder(path(u"/d"));
                return !names || names->size() == 1;
            }));
        }
        waitUntil([&] { return begun == readers + 1; });
        yieldOften();
        held.release();
        move.get();
        for (auto& isWhole : areWhole) {
            EXPECT_TRUE(isWhole.get());
        }
        fileSystem.moveFolderEntry(path(u"/moved"), path(u"/d"), ReplacementPolicy::RefuseExisting);
    }
}

/// A change, and one of its folders, which is in use.
struct HeldUp {
    const char* name;
    const char16_t* inUse;
    std::function<void(InMemoryFileSystem&)> change;
    const char16_t* created; ///< exists after the change and not before; may be empty
    const char16_t* removed; ///< exists before the change and not after; may be empty
};

void PrintTo(const HeldUp& heldUp, std::ostream* out) {
    *out << heldUp.name;
}

InMemoryEntryPath at(const char16_t* text) {
    return InMemoryEntryPath(text);
}

constexpr auto replace = ReplacementPolicy::ReplaceExisting;

const std::vector<HeldUp> changesInUsedFolders{
    {"addFile", u"/d", [](auto& storage) { storage.addFileEntry(at(u"/d/new")); }, u"/d/new", u""},
    {"addFolder", u"/d", [](auto& storage) { storage.addFolderEntry(at(u"/d/new")); }, u"/d/new", u""},
    {"removeFile", u"/d", [](auto& storage) { storage.removeFileEntry(at(u"/d/x")); }, u"", u"/d/x"},
    {"removeFolder", u"/a", [](auto& storage) { storage.removeFolderEntry(at(u"/a/empty")); }, u"",
     u"/a/empty"},
    {"createByOpening", u"/d", [](auto& storage) { storage.checkOutFileEntry(at(u"/d/new"), {}); }, u"/d/new",
     u""},
    {"moveFileFrom", u"/d", [](auto& storage) { storage.moveFileEntry(at(u"/d/x"), at(u"/e/new"), replace); },
     u"/e/new", u"/d/x"},
    {"moveFileTo", u"/e", [](auto& storage) { storage.moveFileEntry(at(u"/d/x"), at(u"/e/y"), replace); },
     u"", u"/d/x"},
    {"moveFileWithin", u"/d",
     [](auto& storage) { storage.moveFileEntry(at(u"/d/x"), at(u"/d/new"), replace); }, u"/d/new", u"/d/x"},
    {"moveFolderFrom", u"/a",
     [](auto& storage) { storage.moveFolderEntry(at(u"/a/s"), at(u"/d/s"), replace); }, u"/d/s/f", u"/a/s"},
    {"moveFolderTo", u"/d", [](auto& storage) { storage.moveFolderEntry(at(u"/a/s"), at(u"/d/s"), replace); },
     u"/d/s/f", u"/a/s"},
    {"moveFolderItself", u"/a/s",
     [](auto& storage) { storage.moveFolderEntry(at(u"/a/s"), at(u"/d/s"), replace); }, u"/d/s/f", u"/a/s"},
    {"moveFolderAbove", u"/a/s",
     [](auto& storage) { storage.moveFolderEntry(at(u"/a"), at(u"/d/a"), replace); }, u"/d/a/s/f", u"/a"},
};

class ChangeInUsedFolderTest : public HeldChangeTest, public testing::WithParamInterface<HeldUp> {
protected:
    void expectBefore() {
        EXPECT_FALSE(isAt(GetParam().created));
        EXPECT_TRUE(Path(GetParam().removed).empty() || isAt(GetParam().removed));
    }

    void expectAfter() {
        EXPECT_TRUE(Path(GetParam().created).empty() || isAt(GetParam().created));
        EXPECT_FALSE(isAt(GetParam().removed));
    }

private:
    /// Uses `findChild`, which acquires no lock, because lookups in the folder in use block.
    bool isAt(const Path& text) {
        const auto parent = folder(InMemoryEntryPath(text).parentPath().string());
        return !text.empty() && parent && parent->findChild(path(text));
    }
};

TEST_P(ChangeInUsedFolderTest, BlocksNoChangeElsewhere) {
    fileSystem.addFolderEntry(path(u"/a/empty"));
    HeldFolder held(folder(GetParam().inUse));
    auto change = expectBlocksNoChangeElsewhere([&] { GetParam().change(fileSystem); });
    expectBefore();
    held.release();
    change.get();
    expectAfter();
}

INSTANTIATE_TEST_SUITE_P(EveryChange, ChangeInUsedFolderTest, testing::ValuesIn(changesInUsedFolders),
                         [](const auto& instance) { return std::string(instance.param.name); });

class FileInUseTest : public HeldChangeTest {
protected:
    FileInUseTest() {
        fileSystem.addFolderEntry(path(u"/files"));
        fileSystem.addFileEntry(path(u"/files/f"));
        file = folder(u"/files")->getFileEntry(path(u"/files/f"));
        unsigned long position = 0;
        file->write("abc", 3, position, provider::ByteStreamAppend::AppendAtEnd);
        file->setLastModifiedTime(pastTime);
        inUse = std::unique_lock(*file->getMutex()); // as a long read or write does
    }

    const boost::posix_time::ptime pastTime{boost::gregorian::date(2001, 2, 3)};
    std::shared_ptr<InMemoryFileEntry> file;
    std::unique_lock<std::mutex> inUse;
};

TEST_F(FileInUseTest, EmptyingItBlocksNoChangeElsewhere) {
    auto emptying = expectBlocksNoChangeElsewhere([&] {
        fileSystem.checkOutFileEntry(path(u"/files/f"), {.content = provider::ByteStreamContent::Empty});
    });
    EXPECT_EQ(file->getContent()->size(), 3U);
    EXPECT_EQ(file->getLastModifiedTime(), pastTime);
    inUse.unlock();
    emptying.get();
    EXPECT_EQ(file->getFileSize(), 0U);
    EXPECT_GT(file->getLastModifiedTime(), pastTime);
}

TEST_F(FileInUseTest, AskingForItsSizeBlocksNoChangeElsewhere) {
    std::uint64_t size = 0;
    auto asking =
        expectBlocksNoChangeElsewhere([&] { size = fileSystem.getFileEntrySize(path(u"/files/f")); });
    inUse.unlock();
    asking.get();
    EXPECT_EQ(size, 3U);
}

// The same checks with random timing.

#ifdef QZSTORAGE_SANITIZED
constexpr int slowdown = 10; // each round takes far longer
#else
constexpr int slowdown = 1;
#endif

class ChangeRaceTest : public testing::Test {
protected:
    /// Runs `change` `times` times, and `look` until the changes have ended. `look` returns the number of its
    /// violations.
    void run(int times, const std::function<void()>& change, const std::function<int()>& look) {
        std::atomic<bool> done = false;
        std::atomic<int> violations = 0;
        std::atomic<int> looks = 0;
        const auto looking = [&] {
            while (!done || looks == 0) {
                violations += look();
                ++looks;
            }
        };
        runTogether({[&] {
                         for (int time = 0; time < times / slowdown; ++time) {
                             change();
                         }
                         done = true;
                     },
                     looking, looking});
        EXPECT_EQ(violations, 0) << "of " << looks;
    }

    Names namesIn(const Path& path) { return provider.doListAllNamesOnly(StorageIRI(path)); }

    InMemoryProvider provider;
};

TEST_F(ChangeRaceTest, NeverMissesAFileReplacedByMoves) {
    const StorageIRI old(u"/g");
    const StorageIRI fresh(u"/new");
    provider.doCreateFile(old);
    run(
        3000,
        [&] {
            provider.doCreateFile(fresh);
            provider.doMoveFile(fresh, old, ReplacementPolicy::ReplaceExisting);
        },
        [&] {
            const auto names = namesIn(u"/");
            return (provider.doFileExists(old) ? 0 : 1) +
                   (provider.doExistsExtended(old) == EntryExistence::File ? 0 : 1) +
                   (!names.empty() && names.front() == u"g" ? 0 : 1) +
                   (answerOf([&] { provider.doGetFileAttributes(old); }).succeeded() ? 0 : 1) +
                   (answerOf([&] { provider.doOpenReadOnlyStream(old); }).succeeded() ? 0 : 1);
        });
}

TEST_F(ChangeRaceTest, ListsARenamedFileOnce) {
    const StorageIRI one(u"/one");
    const StorageIRI two(u"/two");
    provider.doCreateFile(one);
    run(
        3000,
        [&] {
            provider.doMoveFile(one, two, ReplacementPolicy::RefuseExisting);
            provider.doMoveFile(two, one, ReplacementPolicy::RefuseExisting);
        },
        [&] { return namesIn(u"/").size() == 1 ? 0 : 1; });
}

TEST_F(ChangeRaceTest, ListsARenamedFolderOnceWithItsContent) {
    const StorageIRI one(u"/one");
    const StorageIRI two(u"/two");
    for (const auto* folder : {u"/one", u"/one/s"}) {
        provider.doCreateFolder(StorageIRI(folder));
    }
    for (const auto* file : {u"/one/f", u"/one/s/f"}) {
        provider.doCreateFile(StorageIRI(file));
    }
    const auto listsAllOrNothing = [&](const Path& folder, const Names& all) {
        Names names;
        const bool found = answerOf([&] { names = namesIn(folder); }).succeeded();
        return !found || names == all;
    };
    run(
        1000,
        [&] {
            provider.doMoveFolder(one, two, ReplacementPolicy::RefuseExisting);
            provider.doMoveFolder(two, one, ReplacementPolicy::RefuseExisting);
        },
        [&] {
            int violations = namesIn(u"/").size() == 1 ? 0 : 1;
            for (const auto* folder : {u"/one", u"/two"}) {
                violations += listsAllOrNothing(folder, {u"f", u"s"}) ? 0 : 1;
                violations += listsAllOrNothing(folder + Path(u"/s"), {u"f"}) ? 0 : 1;
            }
            return violations;
        });
}

TEST_F(ChangeRaceTest, NeverMissesAnEmptyFolderReplacedByMoves) {
    const StorageIRI old(u"/g");
    const StorageIRI fresh(u"/new");
    provider.doCreateFolder(old);
    run(
        2000,
        [&] {
            provider.doCreateFolder(fresh);
            provider.doMoveFolder(fresh, old, ReplacementPolicy::ReplaceExisting);
        },
        [&] {
            return (provider.doFolderExists(old) ? 0 : 1) +
                   (answerOf([&] { provider.doListAll(old); }).succeeded() ? 0 : 1) +
                   (answerOf([&] { provider.doGetFolderAttributes(old); }).succeeded() ? 0 : 1);
        });
}

TEST_F(ChangeRaceTest, ShowsANewFolderToExistenceTestsAndListingsAtOnce) {
    const StorageIRI folder(u"/a");
    std::atomic<int> changes = 0;
    run(
        3000,
        [&] {
            provider.doCreateFolder(folder);
            ++changes;
            provider.doRemoveFolder(folder);
            ++changes;
        },
        [&] {
            const int before = changes;
            const bool exists = provider.doFolderExists(folder);
            const bool listed = answerOf([&] { provider.doListAll(folder); }).succeeded();
            const bool existsAfter = provider.doFolderExists(folder);
            // One change takes effect between two counts, so the folder appears or disappears exactly once.
            return changes == before && exists == existsAfter && listed != exists ? 1 : 0;
        });
}

TEST_F(ChangeRaceTest, StampsAFolderTogetherWithANewFile) {
    const StorageIRI folder(u"/d");
    const StorageIRI file(u"/d/f");
    const boost::posix_time::ptime pastTime(boost::gregorian::date(2001, 2, 3));
    provider.doCreateFolder(folder);
    std::atomic<int> rounds = 0;
    run(
        2000,
        [&] {
            ++rounds;
            provider.doSetLastModified(folder, pastTime);
            ++rounds;
            provider.doCreateFile(file);
            provider.doRemoveFile(file);
        },
        [&] {
            const int before = rounds;
            const bool seen = provider.doFileExists(file);
            const auto time = provider.doGetFolderAttributes(folder).getLastModified();
            return seen && time == pastTime && rounds == before ? 1 : 0;
        });
}

} // namespace
} // namespace storage::inmemoryprovider::change_visibility_test
