#include "hostapi/storage/provider/ShortNamespace.h"
#include "inmemoryprovider/InMemoryProvider.h"
#include "tests/support/Answer.h"
#include "tests/support/Record.h"
#include "tests/support/RunTogether.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <barrier>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace storage::inmemoryprovider::race_test {
namespace {

using namespace provider;
using tests::Answer;
using tests::answerOf;
using tests::Record;
using tests::runTogether;

using Path = std::u16string;

constexpr ByteStreamOpenOptions appending{.append = ByteStreamAppend::AppendAtEnd};

StorageIRI at(const Path& path) {
    return StorageIRI(path);
}

/// Runs concurrent calls repeatedly, each round on a new provider. The results and the final state must be
/// those of some sequential order of the calls.
class RaceTest : public testing::Test {
protected:
    using Call = std::function<void(const IProvider&)>;

    static constexpr int rounds = 300;

    static Call createFile(const Path& path) {
        return [=](const IProvider& provider) { provider.doCreateFile(at(path)); };
    }
    static Call createFolder(const Path& path) {
        return [=](const IProvider& provider) { provider.doCreateFolder(at(path)); };
    }
    static Call removeFile(const Path& path) {
        return [=](const IProvider& provider) { provider.doRemoveFile(at(path)); };
    }
    static Call removeFolder(const Path& path) {
        return [=](const IProvider& provider) { provider.doRemoveFolder(at(path)); };
    }
    static Call moveFile(const Path& source, const Path& target, ReplacementPolicy policy) {
        return [=](const IProvider& provider) { provider.doMoveFile(at(source), at(target), policy); };
    }
    static Call moveFolder(const Path& source, const Path& target, ReplacementPolicy policy) {
        return [=](const IProvider& provider) { provider.doMoveFolder(at(source), at(target), policy); };
    }

    static void makeFile(const IProvider& provider, const Path& path, std::uint64_t tag) {
        provider.doOpenStream(at(path), {})->write(Record(tag).bytes(), Record::size);
    }

    /// @param prepare  creates the initial state of a round
    /// @param judge    runs after each round, when all calls have returned
    void run(const Call& prepare, const std::vector<Call>& calls, const std::function<void()>& judge) {
        std::barrier line(static_cast<std::ptrdiff_t>(calls.size() + 1));
        std::vector<std::function<void()>> tasks{[&] { referee(line, prepare, calls.size(), judge); }};
        for (std::size_t runner = 0; runner < calls.size(); ++runner) {
            tasks.emplace_back([&, runner] { race(line, runner, calls[runner]); });
        }
        runTogether(tasks);
    }

    const Answer& answer(std::size_t call) const { return answers_[call]; }
    bool succeeded(std::size_t call) const { return answers_[call].succeeded(); }

    void expectOneSuccess(const Answer& ofTheOthers) const {
        EXPECT_EQ(std::count(answers_.begin(), answers_.end(), Answer()), 1);
        EXPECT_EQ(std::count(answers_.begin(), answers_.end(), ofTheOthers),
                  static_cast<std::ptrdiff_t>(answers_.size()) - 1)
            << testing::PrintToString(answers_);
    }

    bool isFile(const Path& path) const { return provider_->doFileExists(at(path)); }

    /// Checks that the parent's children and the map of folders agree.
    bool isFolder(const Path& path) const {
        const bool isListed = answerOf([&] { provider_->doListAll(at(path)); }).succeeded();
        EXPECT_EQ(provider_->doFolderExists(at(path)), isListed) << testing::PrintToString(path);
        return isListed;
    }

    /// Returns the tag that makeFile wrote at this path; nothing if there is no file.
    std::optional<std::uint64_t> tagAt(const Path& path) const {
        Record record;
        std::optional<std::uint64_t> tag;
        answerOf([&] {
            if (provider_->doOpenReadOnlyStream(at(path))->read(record.bytes(), Record::size) ==
                Record::size) {
                tag = record.tag();
            }
        });
        return tag;
    }

    std::vector<Path> namesIn(const Path& path) const { return provider_->doListAllNamesOnly(at(path)); }

private:
    void referee(std::barrier<>& line, const Call& prepare, std::size_t calls,
                 const std::function<void()>& judge) {
        for (int round = 0; round < rounds; ++round) {
            provider_ = std::make_unique<InMemoryProvider>();
            answers_.assign(calls, Answer());
            prepare(*provider_);
            line.arrive_and_wait();
            line.arrive_and_wait();
            judge();
        }
    }

    void race(std::barrier<>& line, std::size_t runner, const Call& call) {
        for (int round = 0; round < rounds; ++round) {
            line.arrive_and_wait();
            answers_[runner] = answerOf([&] { call(*provider_); });
            line.arrive_and_wait();
        }
    }

    std::unique_ptr<InMemoryProvider> provider_;
    std::vector<Answer> answers_;
};

const auto nothing = [](const IProvider&) {};

TEST_F(RaceTest, CreatesAFileOnceInTwoThreads) {
    run(nothing, {createFile(u"/f"), createFile(u"/f")}, [&] {
        expectOneSuccess({ErrorCode::AlreadyExists, u"/f"});
        EXPECT_TRUE(isFile(u"/f"));
    });
}

TEST_F(RaceTest, CreatesAFolderOnceInTwoThreads) {
    run(nothing, {createFolder(u"/a"), createFolder(u"/a")}, [&] {
        expectOneSuccess({ErrorCode::AlreadyExists, u"/a"});
        EXPECT_TRUE(isFolder(u"/a"));
    });
}

TEST_F(RaceTest, CreatesAnEntryOfTheKindThatSucceeded) {
    run(nothing, {createFile(u"/e"), createFolder(u"/e")}, [&] {
        expectOneSuccess({ErrorCode::AlreadyExists, u"/e"});
        EXPECT_EQ(isFile(u"/e"), succeeded(0));
        EXPECT_EQ(isFolder(u"/e"), succeeded(1));
    });
}

TEST_F(RaceTest, OpensAFileThatAnotherThreadCreates) {
    const auto open = [](const IProvider& provider) { makeFile(provider, u"/f", 1); };
    run(nothing, {open, createFile(u"/f")}, [&] {
        EXPECT_TRUE(succeeded(0)) << testing::PrintToString(answer(0));
        EXPECT_TRUE(succeeded(1) || answer(1) == (Answer{ErrorCode::AlreadyExists, u"/f"}));
        EXPECT_EQ(tagAt(u"/f"), 1U);
    });
}

TEST_F(RaceTest, CreatesFoldersRecursivelyInEveryThread) {
    const auto create = [](const IProvider& provider) { provider.doCreateFolderRecursive(at(u"/a/b/c/d")); };
    run(nothing, {create, create, create, create}, [&] {
        for (std::size_t call = 0; call < 4; ++call) {
            EXPECT_TRUE(succeeded(call)) << testing::PrintToString(answer(call));
        }
        EXPECT_TRUE(isFolder(u"/a/b/c/d"));
    });
}

TEST_F(RaceTest, RemovesAFileOnceInTwoThreads) {
    run(createFile(u"/f"), {removeFile(u"/f"), removeFile(u"/f")}, [&] {
        expectOneSuccess({ErrorCode::NotFound, u"/f"});
        EXPECT_FALSE(isFile(u"/f"));
    });
}

TEST_F(RaceTest, RemovesAFolderOnceInTwoThreads) {
    run(createFolder(u"/a"), {removeFolder(u"/a"), removeFolder(u"/a")}, [&] {
        expectOneSuccess({ErrorCode::NotFound, u"/a"});
        EXPECT_FALSE(isFolder(u"/a"));
    });
}

TEST_F(RaceTest, RemovesAFolderOrCreatesAFileInIt) {
    run(createFolder(u"/a"), {removeFolder(u"/a"), createFile(u"/a/f")}, [&] {
        EXPECT_NE(succeeded(0), succeeded(1));
        EXPECT_TRUE(succeeded(0) || answer(0) == (Answer{ErrorCode::FolderNotEmpty, u"/a"}));
        EXPECT_TRUE(succeeded(1) || answer(1) == (Answer{ErrorCode::NotFound, u"/a/f"}));
        EXPECT_EQ(isFolder(u"/a"), succeeded(1));
        EXPECT_EQ(isFile(u"/a/f"), succeeded(1));
    });
}

TEST_F(RaceTest, RemovesAFolderOrCreatesAFolderInIt) {
    run(createFolder(u"/a"), {removeFolder(u"/a"), createFolder(u"/a/b")}, [&] {
        EXPECT_NE(succeeded(0), succeeded(1));
        EXPECT_TRUE(succeeded(0) || answer(0) == (Answer{ErrorCode::FolderNotEmpty, u"/a"}));
        EXPECT_TRUE(succeeded(1) || answer(1) == (Answer{ErrorCode::NotFound, u"/a/b"}));
        EXPECT_EQ(isFolder(u"/a"), succeeded(1));
        EXPECT_EQ(isFolder(u"/a/b"), succeeded(1));
    });
}

TEST_F(RaceTest, RemovesAFolderOrMovesAFileIntoIt) {
    const auto prepare = [](const IProvider& provider) {
        provider.doCreateFolder(at(u"/a"));
        makeFile(provider, u"/f", 1);
    };
    run(prepare, {removeFolder(u"/a"), moveFile(u"/f", u"/a/f", ReplacementPolicy::RefuseExisting)}, [&] {
        EXPECT_NE(succeeded(0), succeeded(1));
        EXPECT_TRUE(succeeded(0) || answer(0) == (Answer{ErrorCode::FolderNotEmpty, u"/a"}));
        EXPECT_TRUE(succeeded(1) || answer(1) == (Answer{ErrorCode::NotFound, u"/f"}));
        EXPECT_EQ(tagAt(succeeded(1) ? u"/a/f" : u"/f"), 1U);
        EXPECT_NE(isFile(u"/f"), isFile(u"/a/f"));
    });
}

TEST_F(RaceTest, OrphansNoNewFileDuringARecursiveRemoval) {
    const auto removeAll = [](const IProvider& provider) { provider.doRemoveFolderRecursively(at(u"/a")); };
    run(createFolder(u"/a"), {removeAll, createFile(u"/a/f")}, [&] {
        EXPECT_TRUE(succeeded(0) || answer(0) == (Answer{ErrorCode::FolderNotEmpty, u"/a"}));
        EXPECT_TRUE(succeeded(1) || answer(1) == (Answer{ErrorCode::NotFound, u"/a/f"}));
        EXPECT_TRUE(succeeded(0) || succeeded(1));
        EXPECT_EQ(isFolder(u"/a"), !succeeded(0));
        EXPECT_EQ(isFile(u"/a/f"), !succeeded(0));
    });
}

TEST_F(RaceTest, MovesAFileOnceInTwoThreads) {
    const auto prepare = [](const IProvider& provider) { makeFile(provider, u"/f", 1); };
    run(prepare,
        {moveFile(u"/f", u"/g", ReplacementPolicy::RefuseExisting),
         moveFile(u"/f", u"/h", ReplacementPolicy::RefuseExisting)},
        [&] {
            expectOneSuccess({ErrorCode::NotFound, u"/f"});
            EXPECT_FALSE(isFile(u"/f"));
            EXPECT_EQ(isFile(u"/g"), succeeded(0));
            EXPECT_EQ(isFile(u"/h"), succeeded(1));
            EXPECT_EQ(tagAt(succeeded(0) ? u"/g" : u"/h"), 1U);
        });
}

void makeTwoFiles(const IProvider& provider) {
    provider.doOpenStream(at(u"/f"), {})->write(Record(1).bytes(), Record::size);
    provider.doOpenStream(at(u"/g"), {})->write(Record(2).bytes(), Record::size);
}

TEST_F(RaceTest, KeepsTheRefusedOneOfTwoFilesMovedToOnePath) {
    run(makeTwoFiles,
        {moveFile(u"/f", u"/t", ReplacementPolicy::RefuseExisting),
         moveFile(u"/g", u"/t", ReplacementPolicy::RefuseExisting)},
        [&] {
            expectOneSuccess({ErrorCode::AlreadyExists, u"/t"});
            EXPECT_EQ(tagAt(u"/t"), succeeded(0) ? 1U : 2U);
            EXPECT_EQ(tagAt(succeeded(0) ? u"/g" : u"/f"), succeeded(0) ? 2U : 1U);
            EXPECT_EQ(namesIn(u"/").size(), 2U);
        });
}

TEST_F(RaceTest, KeepsOneOfTwoFilesMovedToOnePathWithReplacement) {
    run(makeTwoFiles,
        {moveFile(u"/f", u"/t", ReplacementPolicy::ReplaceExisting),
         moveFile(u"/g", u"/t", ReplacementPolicy::ReplaceExisting)},
        [&] {
            EXPECT_TRUE(succeeded(0) && succeeded(1));
            EXPECT_TRUE(tagAt(u"/t") == 1U || tagAt(u"/t") == 2U);
            EXPECT_EQ(namesIn(u"/"), std::vector<Path>{u"t"});
        });
}

TEST_F(RaceTest, CopiesOnceToOnePathAndLeavesNoTemporaryFile) {
    const auto copy = [](const Path& source) {
        return [=](const IProvider& provider) {
            provider.doCopyFile(at(source), at(u"/t"), ReplacementPolicy::RefuseExisting);
        };
    };
    run(makeTwoFiles, {copy(u"/f"), copy(u"/g")}, [&] {
        expectOneSuccess({ErrorCode::AlreadyExists, u"/t"});
        EXPECT_EQ(tagAt(u"/t"), succeeded(0) ? 1U : 2U);
        EXPECT_EQ(namesIn(u"/"), (std::vector<Path>{u"f", u"g", u"t"}));
    });
}

TEST_F(RaceTest, CopiesToAMovingFolderOrLeavesAtMostATemporaryFile) {
    const auto prepare = [](const IProvider& provider) {
        provider.doCreateFolder(at(u"/a"));
        makeFile(provider, u"/f", 1);
    };
    const auto copy = [](const IProvider& provider) {
        provider.doCopyFile(at(u"/f"), at(u"/a/t"), ReplacementPolicy::RefuseExisting);
    };
    run(prepare, {copy, moveFolder(u"/a", u"/b", ReplacementPolicy::RefuseExisting)}, [&] {
        const Path& named =
            answer(0).named; // the source, or the temporary file that was removed with its folder
        EXPECT_TRUE(succeeded(0) || (answer(0).code == ErrorCode::NotFound &&
                                     (named == u"/f" || named.starts_with(u"/a/.copy-"))))
            << testing::PrintToString(answer(0));
        EXPECT_TRUE(succeeded(1)) << testing::PrintToString(answer(1));
        EXPECT_EQ(tagAt(u"/b/t"), succeeded(0) ? std::optional<std::uint64_t>(1) : std::nullopt);
        EXPECT_LE(namesIn(u"/b").size(), 1U);
        EXPECT_EQ(tagAt(u"/f"), 1U);
    });
}

TEST_F(RaceTest, MovesANewFileWithItsFolderOrDoesNotCreateIt) {
    run(createFolder(u"/a"),
        {moveFolder(u"/a", u"/b", ReplacementPolicy::RefuseExisting), createFile(u"/a/f")}, [&] {
            EXPECT_TRUE(succeeded(0)) << testing::PrintToString(answer(0));
            EXPECT_TRUE(succeeded(1) || answer(1) == (Answer{ErrorCode::NotFound, u"/a/f"}));
            EXPECT_FALSE(isFolder(u"/a"));
            EXPECT_TRUE(isFolder(u"/b"));
            EXPECT_EQ(isFile(u"/b/f"), succeeded(1));
        });
}

TEST_F(RaceTest, MovesOneOfTwoFoldersIntoTheOther) {
    const auto prepare = [](const IProvider& provider) {
        provider.doCreateFolder(at(u"/a"));
        provider.doCreateFolder(at(u"/b"));
        makeFile(provider, u"/a/f", 1);
        makeFile(provider, u"/b/f", 2);
    };
    run(prepare,
        {moveFolder(u"/a", u"/b/a", ReplacementPolicy::RefuseExisting),
         moveFolder(u"/b", u"/a/b", ReplacementPolicy::RefuseExisting)},
        [&] {
            expectOneSuccess({ErrorCode::NotFound, succeeded(0) ? u"/b" : u"/a"});
            EXPECT_EQ(tagAt(succeeded(0) ? u"/b/a/f" : u"/a/f"), 1U);
            EXPECT_EQ(tagAt(succeeded(0) ? u"/b/f" : u"/a/b/f"), 2U);
            EXPECT_EQ(isFolder(u"/a"), succeeded(1));
            EXPECT_EQ(isFolder(u"/b"), succeeded(0));
            EXPECT_EQ(isFolder(u"/b/a"), succeeded(0));
            EXPECT_EQ(isFolder(u"/a/b"), succeeded(1));
        });
}

TEST_F(RaceTest, ReplacesTheEmptyOneOfTwoFoldersThatReplaceEachOther) {
    const auto prepare = [](const IProvider& provider) {
        provider.doCreateFolder(at(u"/a"));
        provider.doCreateFolder(at(u"/b"));
        makeFile(provider, u"/a/f", 1);
    };
    run(prepare,
        {moveFolder(u"/a", u"/b", ReplacementPolicy::ReplaceExisting),
         moveFolder(u"/b", u"/a", ReplacementPolicy::ReplaceExisting)},
        [&] {
            EXPECT_TRUE(succeeded(0)) << testing::PrintToString(answer(0));
            EXPECT_TRUE(succeeded(1) || answer(1) == (Answer{ErrorCode::AlreadyExists, u"/a"}));
            EXPECT_EQ(tagAt(succeeded(1) ? u"/a/f" : u"/b/f"), 1U);
            EXPECT_EQ(isFolder(u"/a"), succeeded(1));
            EXPECT_NE(isFolder(u"/b"), succeeded(1));
        });
}

TEST_F(RaceTest, OpensAFileThatMustExistOrDoesNotFindIt) {
    const auto prepare = [](const IProvider& provider) { makeFile(provider, u"/f", 1); };
    const auto open = [](const IProvider& provider) {
        const auto stream = provider.doOpenStream(at(u"/f"), {.existence = ByteStreamExistence::MustExist});
        Record record;
        EXPECT_EQ(stream->read(record.bytes(), Record::size), Record::size);
        EXPECT_EQ(record, Record(1));
    };
    run(prepare, {open, removeFile(u"/f")}, [&] {
        EXPECT_TRUE(succeeded(0) || answer(0) == (Answer{ErrorCode::NotFound, u"/f"}));
        EXPECT_TRUE(succeeded(1));
        EXPECT_FALSE(isFile(u"/f"));
    });
}

TEST_F(RaceTest, OpensAFileBeforeItsRemovalOrCreatesItAfterwards) {
    const auto prepare = [](const IProvider& provider) { makeFile(provider, u"/f", 1); };
    std::uint64_t opened = 0;
    const auto open = [&](const IProvider& provider) {
        const auto stream = provider.doOpenStream(at(u"/f"), {});
        Record record;
        opened = stream->read(record.bytes(), Record::size) == Record::size ? record.tag() : 0;
        EXPECT_EQ(stream->write(Record(2).bytes(), Record::size), Record::size);
    };
    run(prepare, {open, removeFile(u"/f")}, [&] {
        EXPECT_TRUE(succeeded(0) && succeeded(1));
        EXPECT_EQ(isFile(u"/f"), opened == 0);
        EXPECT_EQ(tagAt(u"/f"), opened == 0 ? std::optional<std::uint64_t>(2) : std::nullopt);
    });
}

// Streams on one file.

constexpr std::uint64_t recordsPerStream = 300;

/// Unique for each record of each stream. The tags of a stream ascend.
std::uint64_t tagOf(std::uint64_t stream, std::uint64_t number) {
    return (stream + 1) * 1000 + number;
}

void appendRecords(ByteStream& stream, std::uint64_t number) {
    for (std::uint64_t i = 0; i < recordsPerStream; ++i) {
        stream.write(Record(tagOf(number, i)).bytes(), Record::size);
    }
}

/// Opens a stream on the file at its current path.
std::unique_ptr<ByteStream> openWhereItIs(const IProvider& provider) {
    const ByteStreamOpenOptions options{.existence = ByteStreamExistence::MustExist,
                                        .append = ByteStreamAppend::AppendAtEnd};
    std::unique_ptr<ByteStream> stream;
    for (std::size_t turn = 0; !stream; ++turn) {
        answerOf([&] { stream = provider.doOpenStream(at(turn % 2 == 0 ? u"/f" : u"/g"), options); });
    }
    return stream;
}

/// Returns, for each stream, its records that are still in the file, in file order.
std::array<std::vector<std::uint64_t>, 4> readRecords(ByteStream& stream) {
    std::array<std::vector<std::uint64_t>, 4> tags;
    Record record;
    while (stream.read(record.bytes(), Record::size) == Record::size) {
        EXPECT_TRUE(record.isWhole());
        const auto number = record.tag() / 1000 - 1;
        if (number < tags.size()) {
            tags[number].push_back(record.tag());
        }
    }
    return tags;
}

TEST(RacingStreamsTest, AppendsAreNeitherLostNorTornWhileTheFileMoves) {
    const InMemoryProvider provider;
    const std::array early{provider.doOpenStream(at(u"/f"), appending),
                           provider.doOpenStream(at(u"/f"), appending)};
    std::atomic<bool> moved = false;
    std::atomic<int> appenders = 4;
    const auto append = [&](std::uint64_t number) {
        if (number < early.size()) {
            appendRecords(*early[number], number);
        } else {
            moved.wait(false);
            appendRecords(*openWhereItIs(provider), number);
        }
        --appenders;
    };
    const auto move = [&] {
        const std::array places{at(u"/f"), at(u"/g")};
        std::size_t place = 0;
        do {
            provider.doMoveFile(places[place], places[1 - place], ReplacementPolicy::RefuseExisting);
            place = 1 - place;
            moved = true;
            moved.notify_all();
        } while (appenders > 0);
    };
    runTogether({[&] { append(0); }, [&] { append(1); }, [&] { append(2); }, [&] { append(3); }, move});

    const auto left = readRecords(*openWhereItIs(provider));
    for (std::uint64_t number = 0; number < left.size(); ++number) {
        std::vector<std::uint64_t> written;
        for (std::uint64_t i = 0; i < recordsPerStream; ++i) {
            written.push_back(tagOf(number, i));
        }
        EXPECT_EQ(left[number], written) << "stream " << number;
    }
}

TEST(RacingStreamsTest, NeverReadATornRecord) {
    constexpr long mostRecords = 16;
    constexpr std::uint64_t writes = 2000;
    const InMemoryProvider provider;
    provider.doCreateFile(at(u"/f"));
    std::atomic<int> writers = 3;
    const auto overwrite = [&] {
        const auto stream = provider.doOpenStream(at(u"/f"), {});
        for (std::uint64_t i = 0; i < writes; ++i) {
            stream->seek(static_cast<long>(i % mostRecords) * Record::size, std::ios_base::beg);
            stream->write(Record(i).bytes(), Record::size);
        }
        --writers;
    };
    const auto appendAndEmpty = [&] {
        for (std::uint64_t i = 0; i < writes; ++i) {
            const bool empty = i % mostRecords == 0;
            provider
                .doOpenStream(at(u"/f"),
                              {.content = empty ? ByteStreamContent::Empty : ByteStreamContent::Keep,
                               .append = ByteStreamAppend::AppendAtEnd})
                ->write(Record(i).bytes(), Record::size);
        }
        --writers;
    };
    const auto resize = [&] {
        for (std::uint64_t i = 0; i < writes / 10; ++i) {
            provider.doTruncateToSize(at(u"/f"), i % mostRecords * Record::size);
        }
        --writers;
    };
    const auto read = [&] {
        const auto stream = provider.doOpenReadOnlyStream(at(u"/f"));
        std::array<Record, 3> records;
        while (writers > 0) {
            const long count = stream->read(records.front().bytes(), static_cast<long>(sizeof records));
            if (count == -1) {
                stream->seek(0, std::ios_base::beg);
                continue;
            }
            ASSERT_EQ(count % Record::size, 0);
            ASSERT_TRUE(std::all_of(records.begin(), records.begin() + count / Record::size,
                                    [](const Record& record) { return record.isWhole(); }));
        }
    };
    runTogether({overwrite, appendAndEmpty, resize, read});
}

TEST(RacingStreamsTest, AlwaysOpenAFileReplacedByMoves) {
    constexpr std::uint64_t last = 1000;
    const InMemoryProvider provider;
    provider.doOpenStream(at(u"/t"), {})->write(Record(1).bytes(), Record::size);
    std::atomic<bool> done = false;
    const auto replace = [&] {
        for (std::uint64_t i = 2; i <= last; ++i) {
            provider.doOpenStream(at(u"/new"), {})->write(Record(i).bytes(), Record::size);
            provider.doMoveFile(at(u"/new"), at(u"/t"), ReplacementPolicy::ReplaceExisting);
        }
        done = true;
    };
    const auto open = [&] {
        std::uint64_t newest = 1;
        while (!done) {
            Record record;
            const auto answer = answerOf(
                [&] { provider.doOpenReadOnlyStream(at(u"/t"))->read(record.bytes(), Record::size); });
            ASSERT_EQ(answer, Answer());
            ASSERT_TRUE(record.isWhole());
            ASSERT_GE(record.tag(), newest);
            newest = record.tag();
        }
    };
    runTogether({replace, open, open});
    Record record;
    provider.doOpenReadOnlyStream(at(u"/t"))->read(record.bytes(), Record::size);
    EXPECT_EQ(record, Record(last));
}

TEST(RacingListingsTest, ReturnASnapshotOfTheFolder) {
    constexpr int files = 200;
    std::vector<Path> names;
    for (int i = 0; i < files; ++i) {
        names.push_back({u'f', static_cast<char16_t>(u'0' + i / 100),
                         static_cast<char16_t>(u'0' + i / 10 % 10), static_cast<char16_t>(u'0' + i % 10)});
    }
    const InMemoryProvider provider;
    std::atomic<bool> done = false;
    // At every moment the folder contains a prefix of the names.
    const auto change = [&] {
        for (int turn = 0; turn < 5; ++turn) {
            std::for_each(names.begin(), names.end(),
                          [&](const Path& name) { provider.doCreateFile(at(u"/" + name)); });
            std::for_each(names.rbegin(), names.rend(),
                          [&](const Path& name) { provider.doRemoveFile(at(u"/" + name)); });
        }
        done = true;
    };
    const auto list = [&] {
        while (!done) {
            const auto seen = provider.doListAllNamesOnly(at(u"/"));
            ASSERT_LE(seen.size(), names.size());
            ASSERT_TRUE(std::equal(seen.begin(), seen.end(), names.begin())) << testing::PrintToString(seen);
        }
    };
    runTogether({change, list, list});
}

TEST(RacingListingsTest, LoseNoEntryWhileFilesAreCreated) {
    const InMemoryProvider provider;
    std::atomic<bool> done = false;
    const auto create = [&] {
        for (char16_t name = 1; name < 400; ++name) {
            provider.doCreateFile(at(Path{u'/', u'f', static_cast<char16_t>(name + 0x100)}));
        }
        done = true;
    };
    const auto list = [&] {
        std::size_t before = 0;
        while (!done) {
            const std::size_t count = provider.doListFilesNamesOnly(at(u"/")).size();
            ASSERT_GE(count, before);
            before = count;
        }
    };
    runTogether({create, list, list});
}

// Nodes by themselves, without a file system and its lock.

TEST(RacingNodesTest, CanBeQueriedWhileChildrenChange) {
    const boost::posix_time::ptime time(boost::gregorian::date(2001, 2, 3));
    const InMemoryEntryPath lasting(u"/a/lasting");
    const InMemoryEntryPath changing(u"/a/changing");
    InMemoryFolderEntry folder(InMemoryEntryPath(u"/a"), time, true);
    folder.addChild(std::make_shared<InMemoryFolderEntry>(lasting, time, true));
    std::atomic<bool> done = false;
    const auto change = [&] {
        for (int i = 0; i < 1000; ++i) {
            folder.addChild(std::make_shared<InMemoryFileEntry>(changing, time, true));
            folder.removeChild(changing);
        }
        done = true;
    };
    const auto ask = [&] {
        while (!done) {
            ASSERT_FALSE(folder.empty());
            ASSERT_TRUE(folder.doChildExist(lasting));
            ASSERT_NE(folder.getFolderEntry(lasting), nullptr);
            ASSERT_EQ(folder.getFolderEntry(changing), nullptr);
            ASSERT_TRUE(folder.getLightWeightRepresentation().contains(lasting));
        }
    };
    runTogether({change, ask, ask});
}

} // namespace
} // namespace storage::inmemoryprovider::race_test
