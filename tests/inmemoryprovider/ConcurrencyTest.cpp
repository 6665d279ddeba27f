#include "inmemoryprovider/InMemoryProvider.h"
#include "inmemoryprovider/access/ContentGuard.h"

#include "hostapi/storage/provider/Exception.h"

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace storage::inmemoryprovider {
namespace {

using namespace foundation::storage::provider;

/// Runs every task on a thread of its own, all of them from one moment on.
void runTogether(const std::vector<std::function<void()>>& tasks) {
    std::barrier start(static_cast<std::ptrdiff_t>(tasks.size()));
    std::vector<std::thread> threads;
    for (const auto& task : tasks) {
        threads.emplace_back([&start, &task] {
            start.arrive_and_wait();
            task();
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
}

/// -1 when `call` succeeds, else the code of its failure.
int codeOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const Exception& error) {
        return static_cast<int>(error.getErrorCode());
    }
    return -1;
}

TEST(Concurrency, ofTwoThreadsThatCreateOneFileExactlyOneSucceeds) {
    for (int round = 0; round < 200; ++round) {
        const InMemoryProvider provider;
        int first = 0;
        int second = 0;
        runTogether({[&] { first = codeOf([&] { provider.doCreateFile(StorageIRI(u"/f")); }); },
                     [&] { second = codeOf([&] { provider.doCreateFile(StorageIRI(u"/f")); }); }});
        EXPECT_EQ(std::min(first, second), -1);
        EXPECT_EQ(std::max(first, second), 3);
    }
}

TEST(Concurrency, ofTwoThreadsThatMoveOneFileExactlyOneSucceeds) {
    for (int round = 0; round < 200; ++round) {
        const InMemoryProvider provider;
        provider.doCreateFile(StorageIRI(u"/f"));
        const auto move = [&](const char16_t* target) {
            return codeOf([&] {
                provider.doMoveFile(StorageIRI(u"/f"), StorageIRI(target), ReplacementPolicy::RefuseExisting);
            });
        };
        int first = 0;
        int second = 0;
        runTogether({[&] { first = move(u"/g"); }, [&] { second = move(u"/h"); }});
        EXPECT_EQ(std::min(first, second), -1);
        EXPECT_EQ(std::max(first, second), 4);
        EXPECT_EQ(provider.doFileExists(StorageIRI(u"/g")), first == -1);
        EXPECT_EQ(provider.doFileExists(StorageIRI(u"/h")), second == -1);
    }
}

constexpr int recordsPerStream = 500;
constexpr std::size_t recordSize = 16;

void appendRecords(ByteStream& stream, char mark) {
    const std::string record(recordSize, mark);
    for (int i = 0; i < recordsPerStream; ++i) {
        stream.write(record.data(), recordSize);
    }
}

TEST(Concurrency, appendsOfSeveralStreamsLoseAndTearNothingThoughTheFileMoves) {
    const InMemoryProvider provider;
    ByteStreamOpenOptions appending;
    appending.append = ByteStreamAppend::AppendAtEnd;
    const auto oldStreamA = provider.doOpenStream(StorageIRI(u"/f"), appending);
    const auto oldStreamB = provider.doOpenStream(StorageIRI(u"/f"), appending);
    std::atomic<bool> moved = false;
    const auto appendAfterMove = [&](char mark) {
        moved.wait(false);
        appendRecords(*provider.doOpenStream(StorageIRI(u"/g"), appending), mark);
    };
    runTogether({[&] { appendRecords(*oldStreamA, 'a'); }, [&] { appendRecords(*oldStreamB, 'b'); },
                 [&] { appendAfterMove('c'); }, [&] { appendAfterMove('d'); },
                 [&] {
                     provider.doMoveFile(StorageIRI(u"/f"), StorageIRI(u"/g"),
                                         ReplacementPolicy::RefuseExisting);
                     moved = true;
                     moved.notify_all();
                 }});

    const auto reader = provider.doOpenReadOnlyStream(StorageIRI(u"/g"));
    std::map<char, int> records;
    std::string record(recordSize, '\0');
    while (reader->read(record.data(), recordSize) == static_cast<long>(recordSize)) {
        EXPECT_EQ(record, std::string(recordSize, record[0]));
        ++records[record[0]];
    }
    const std::map<char, int> expected{
        {'a', recordsPerStream}, {'b', recordsPerStream}, {'c', recordsPerStream}, {'d', recordsPerStream}};
    EXPECT_EQ(records, expected);
}

TEST(Concurrency, lookingUpAFolderNeverWaitsForAnOperationOfTheTree) {
    for (int round = 0; round < 50; ++round) {
        InMemoryFileSystem fileSystem;
        fileSystem.addFileEntry(InMemoryEntryPath(u"/f"));
        const auto root = fileSystem.getFolderEntry(InMemoryEntryPath(u"/"));
        const auto content = root->getFileEntry(InMemoryEntryPath(u"/f"))->getContent();
        std::unique_lock held(guardOf(content));
        std::atomic<bool> asking = false;
        // Asks for a size with the tree locked, and cannot go on while the content is held.
        std::thread operation([&] {
            asking = true;
            fileSystem.getFileEntrySize(InMemoryEntryPath(u"/f"));
        });
        while (!asking) {
            std::this_thread::yield();
        }
        for (int look = 0; look < 100; ++look) {
            EXPECT_EQ(fileSystem.getFolderEntry(InMemoryEntryPath(u"/")), root);
            std::this_thread::yield();
        }
        held.unlock();
        operation.join();
    }
}

TEST(Concurrency, readersFollowAFolderThatIsMovedBackAndForth) {
    const InMemoryProvider provider;
    provider.doCreateFolder(StorageIRI(u"/a"));
    provider.doCreateFolder(StorageIRI(u"/a/s"));
    provider.doOpenStream(StorageIRI(u"/a/s/f"), {})->write("abc", 3);
    std::atomic<bool> stop = false;
    const auto read = [&] {
        while (!stop) {
            for (const auto* path : {u"/a/s/f", u"/b/s/f"}) {
                codeOf([&] {
                    char byte = 0;
                    EXPECT_EQ(provider.doOpenReadOnlyStream(StorageIRI(path))->read(&byte, 1), 1);
                    EXPECT_EQ(byte, 'a');
                });
                codeOf([&] { EXPECT_EQ(provider.doGetFileAttributes(StorageIRI(path)).getSize(), 3U); });
                provider.doFileExists(StorageIRI(path));
                codeOf([&] { provider.doSetLastModified(StorageIRI(path), boost::posix_time::ptime()); });
            }
            for (const auto* path : {u"/a", u"/b", u"/a/s", u"/b/s"}) {
                codeOf([&] { provider.doListAll(StorageIRI(path))->clone(); });
                codeOf([&] { provider.doSetWritable(StorageIRI(path), true); });
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

/// Looks at the whole tree below `folder`: every listed folder is found by its own path, every listed entry
/// by its kind, and every size agrees with the bytes.
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

TEST(Concurrency, aStormOfAllOperationsLeavesTheTreeSound) {
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
            codeOf([&] {
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
} // namespace storage::inmemoryprovider
