#include "hostapi/storage/provider/ShortNamespace.h"
#include "inmemoryprovider/InMemoryProvider.h"
#include "tests/support/Answer.h"
#include "tests/support/RunTogether.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace storage::inmemoryprovider::concurrency_test {
namespace {

using namespace provider;
using tests::answerOf;
using tests::runTogether;

TEST(ConcurrencyTest, ReadersFindAFolderThatMovesBackAndForth) {
    const InMemoryProvider provider;
    provider.doCreateFolder(StorageIRI(u"/a"));
    provider.doCreateFolder(StorageIRI(u"/a/s"));
    provider.doOpenStream(StorageIRI(u"/a/s/f"), {})->write("abc", 3);
    std::atomic<bool> stop = false;
    const auto read = [&] {
        while (!stop) {
            for (const auto* path : {u"/a/s/f", u"/b/s/f"}) {
                answerOf([&] {
                    char byte = 0;
                    EXPECT_EQ(provider.doOpenReadOnlyStream(StorageIRI(path))->read(&byte, 1), 1);
                    EXPECT_EQ(byte, 'a');
                });
                answerOf([&] { EXPECT_EQ(provider.doGetFileAttributes(StorageIRI(path)).getSize(), 3U); });
                provider.doFileExists(StorageIRI(path));
                answerOf([&] { provider.doSetLastModified(StorageIRI(path), boost::posix_time::ptime()); });
            }
            for (const auto* path : {u"/a", u"/b", u"/a/s", u"/b/s"}) {
                answerOf([&] { provider.doListAll(StorageIRI(path))->clone(); });
                answerOf([&] { provider.doSetWritable(StorageIRI(path), true); });
            }
        }
    };
    const auto move = [&] {
        for (int i = 0; i < 500; ++i) {
            provider.doMoveFolder(StorageIRI(u"/a"), StorageIRI(u"/b"), ReplacementPolicy::RefuseExisting);
            provider.doMoveFolder(StorageIRI(u"/b"), StorageIRI(u"/a"), ReplacementPolicy::RefuseExisting);
        }
        stop = true;
    };
    runTogether({read, read, move});
    EXPECT_TRUE(provider.doFileExists(StorageIRI(u"/a/s/f")));
    EXPECT_FALSE(provider.doFolderExists(StorageIRI(u"/b")));
}

/// Checks the whole tree below `folder`: every listed folder is found by its own path, every listed entry by
/// its kind, and every size equals the number of bytes.
void expectSound(const IProvider& provider, const std::u16string& folder) {
    const auto listing = provider.doListAll(StorageIRI(folder.empty() ? u"/" : folder));
    while (listing->hasNext()) {
        listing->step();
        const auto entry = listing->getEntry();
        const auto path = folder + u"/" + entry.getName();
        if (entry.getType() == FolderEntry::EntryType::Folder) {
            EXPECT_TRUE(provider.doFolderExists(StorageIRI(path)));
            expectSound(provider, path);
        } else {
            const auto stream = provider.doOpenReadOnlyStream(StorageIRI(path));
            EXPECT_EQ(static_cast<unsigned long>(std::streamoff(stream->seek(0, std::ios_base::end))),
                      provider.doGetFileAttributes(StorageIRI(path)).getSize());
        }
    }
}

/// Creates and removes enough entries that every index of them is created, doubled and halved repeatedly.
TEST(ConcurrencyTest, FindsEntriesWhileManyOthersAreCreatedAndRemoved) {
    constexpr int rounds = 30;
    constexpr char16_t some = 10;
    constexpr char16_t many = 110;
    const InMemoryProvider provider;
    const auto at = [](char16_t number) {
        return StorageIRI(std::u16string(u"/f/") + static_cast<char16_t>(u'0' + number));
    };
    const auto below = [&](char16_t number) { return StorageIRI(at(number).getResolvedPath() + u"/below"); };
    const auto folderAt = [&](char16_t number) {
        provider.doCreateFolder(at(number));
        provider.doCreateFile(below(number));
    };
    provider.doCreateFolder(StorageIRI(u"/f"));
    for (char16_t number = 0; number < some; ++number) {
        folderAt(number);
    }
    std::atomic<bool> stop = false;
    const auto look = [&] {
        for (char16_t number = 0; !stop; number = static_cast<char16_t>((number + 1) % some)) {
            EXPECT_TRUE(provider.doFolderExists(at(number)));
            EXPECT_TRUE(provider.doFileExists(below(number)));
            EXPECT_NO_THROW(provider.doSetWritable(below(number), true));
            EXPECT_EQ(provider.doGetFileAttributes(below(number)).getSize(), 0U);
            EXPECT_FALSE(provider.doExists(at(many)));
        }
    };
    const auto comeAndGo = [&] {
        for (int round = 0; round < rounds; ++round) {
            for (char16_t number = some; number < many; ++number) {
                folderAt(number);
            }
            provider.doMoveFolder(at(some), StorageIRI(u"/g"), ReplacementPolicy::RefuseExisting);
            provider.doMoveFolder(StorageIRI(u"/g"), at(some), ReplacementPolicy::RefuseExisting);
            for (char16_t number = some; number < many; ++number) {
                provider.doRemoveFile(below(number));
                provider.doRemoveFolder(at(number));
            }
        }
        stop = true;
    };
    runTogether({look, look, comeAndGo});
}

/// Two threads append to files in a folder that a third thread moves. Expects every byte.
void expectNoFirstWriteLost() {
    constexpr char16_t many = 60;
    const InMemoryProvider provider;
    const auto at = [](const std::u16string& folder, char16_t number) {
        return StorageIRI(folder + u"/" + static_cast<char16_t>(u'0' + number));
    };
    provider.doCreateFolder(StorageIRI(u"/a"));
    for (char16_t number = 0; number < many; ++number) {
        provider.doCreateFile(at(u"/a", number));
    }
    std::atomic<long> written = 0;
    const auto append = [&] {
        for (char16_t number = 0; number < many; ++number) {
            for (const auto* folder : {u"/a", u"/b"}) {
                answerOf([&] {
                    const auto stream = provider.doOpenStream(at(folder, number),
                                                              {.existence = ByteStreamExistence::MustExist,
                                                               .append = ByteStreamAppend::AppendAtEnd});
                    written += stream->write("x", 1);
                });
            }
        }
    };
    const auto move = [&] {
        provider.doMoveFolder(StorageIRI(u"/a"), StorageIRI(u"/b"), ReplacementPolicy::RefuseExisting);
        provider.doMoveFolder(StorageIRI(u"/b"), StorageIRI(u"/a"), ReplacementPolicy::RefuseExisting);
    };
    runTogether({append, append, move});
    long found = 0;
    for (char16_t number = 0; number < many; ++number) {
        found += static_cast<long>(provider.doGetFileAttributes(at(u"/a", number)).getSize());
    }
    EXPECT_EQ(found, written);
}

TEST(ConcurrencyTest, LosesNoFirstWriteToManyFilesWhileTheirFolderMoves) {
    for (int round = 0; round < 100 && !testing::Test::HasFailure(); ++round) {
        expectNoFirstWriteLost();
    }
}

TEST(ConcurrencyTest, KeepsTheTreeConsistentUnderRandomOperations) {
    const InMemoryProvider provider;
    const std::vector<std::u16string> paths{u"/a",   u"/b",     u"/a/a",   u"/a/b",   u"/b/a",
                                            u"/b/b", u"/a/a/a", u"/a/b/a", u"/b/a/b", u"/b/b/b"};
    const auto storm = [&](unsigned seed) {
        std::mt19937 random(seed);
        const auto any = [&] { return StorageIRI(paths[random() % paths.size()]); };
        std::vector<std::unique_ptr<ByteStream>> streams;
        char buffer[64] = {};
        for (int i = 0; i < 4000; ++i) {
            const auto iri = any();
            const auto policy = static_cast<ReplacementPolicy>(random() % 6);
            answerOf([&] {
                switch (random() % 14) {
                case 0:
                case 1:
                    return provider.doCreateFile(iri);
                case 2:
                case 3:
                    return provider.doCreateFolder(iri);
                case 4:
                    return provider.doRemoveFile(iri);
                case 5:
                    return provider.doRemoveFolder(iri);
                case 6:
                    return provider.doMoveFile(iri, any(), policy);
                case 7:
                    return provider.doMoveFolder(iri, any(), policy);
                case 8:
                    streams.push_back(
                        provider.doOpenStream(iri, {0, static_cast<ByteStreamExistence>(random() % 2),
                                                    static_cast<ByteStreamContent>(random() % 2),
                                                    static_cast<ByteStreamAppend>(random() % 2)}));
                    break;
                case 9:
                    if (!streams.empty()) {
                        auto& stream = *streams[random() % streams.size()];
                        stream.write(buffer, static_cast<long>(random() % sizeof buffer));
                        stream.seek(0, std::ios_base::beg);
                        stream.read(buffer, sizeof buffer);
                    }
                    break;
                case 10:
                    provider.doListAll(iri)->clone();
                    break;
                case 11:
                    return provider.doSetLastModified(iri, boost::posix_time::ptime());
                case 12:
                    return provider.doSetWritable(iri, random() % 4 != 0);
                default:
                    provider.doFolderExists(iri) ? (void)provider.doGetFolderAttributes(iri)
                                                 : (void)provider.doGetFileAttributes(iri);
                    break;
                }
            });
            if (streams.size() > 8) {
                streams.clear();
            }
        }
    };
    runTogether({[&] { storm(1); }, [&] { storm(2); }, [&] { storm(3); }, [&] { storm(4); }});
    expectSound(provider, u"");
}

} // namespace
} // namespace storage::inmemoryprovider::concurrency_test
