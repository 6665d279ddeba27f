#include "host/support/Failure.h"
#include "host/validate/checks/CheckCatalogue.h"
#include "host/validate/kit/CheckContext.h"
#include "host/validate/kit/Expectations.h"
#include "host/validate/kit/Policies.h"
#include "host/validate/kit/StreamSteps.h"
#include "host/validate/rules/Check.h"
#include "hostapi/storage/provider/RequireNonNull.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <barrier>
#include <exception>
#include <fmt/format.h>
#include <future>
#include <mutex>
#include <optional>
#include <random>
#include <set>
#include <thread>
#include <vector>

namespace storage::host::checks {

using namespace provider;

namespace thread_checks {
namespace {

constexpr int threadCount = 4;
constexpr int raceRounds = 200;

/// The first failure of several threads. Thread-safe.
class FirstFailure {
public:
    void takeCurrent() {
        const std::lock_guard lock(mutex_);
        if (!failure_) {
            failure_ = std::current_exception();
        }
    }

    /// @throws RuleBroken if a thread has failed
    void rethrow() const {
        if (!failure_) {
            return;
        }
        try {
            std::rethrow_exception(failure_);
        } catch (const RuleBroken&) {
            throw;
        } catch (...) {
            throw RuleBroken("in one of several threads: " + Failure::ofCurrentException("").reason);
        }
    }

private:
    std::mutex mutex_;
    std::exception_ptr failure_;
};

/// Runs `task` on four threads concurrently. @param task  is called with the index of its thread
void together(const std::function<void(int thread)>& task) {
    std::barrier<> start(threadCount);
    FirstFailure failure;
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([&, thread] {
            start.arrive_and_wait();
            try {
                task(thread);
            } catch (...) {
                failure.takeCurrent();
            }
        });
    }
    for (std::thread& each : threads) {
        each.join();
    }
    failure.rethrow();
}

/// Runs `step` repeatedly on four threads, which start each round at the same time. The first failure ends
/// all of them.
void race(const std::function<void(int thread, int round)>& step) {
    std::barrier<> begin(threadCount);
    std::atomic<bool> failed = false;
    together([&](int thread) {
        try {
            for (int round = 0; round < raceRounds && !failed; ++round) {
                begin.arrive_and_wait();
                step(thread, round);
            }
        } catch (...) {
            failed = true;
            begin.arrive_and_drop(); // another thread may already wait for the next round
            throw;
        }
        begin.arrive_and_drop();
    });
}

/// Two threads repeat `work` while two others repeat `meanwhile`. Each of the first two does `work` at least
/// `times` times, and until `meanwhile` has run often enough. So both overlap, however the threads are
/// scheduled.
void runAlongside(int times, const std::function<void()>& work,
                  const std::function<void(int thread, int round)>& meanwhile) {
    constexpr int enough = 40;
    std::atomic<int> rounds = 0; // of `meanwhile`, in both threads together
    std::atomic<int> working = 2;
    std::atomic<bool> failed = false; // ends all threads
    together([&](int thread) {
        const bool works = thread >= 2;
        try {
            for (int i = 0; !failed && (works ? i < times || rounds < enough : working > 0); ++i) {
                works ? work() : meanwhile(thread, i);
                rounds += works ? 0 : 1;
            }
        } catch (...) {
            failed = true;
            throw;
        }
        working -= works ? 1 : 0;
    });
}

std::u16string numbered(std::u16string_view name, int number) {
    const std::string digits = std::to_string(number);
    return std::u16string(name) + std::u16string(digits.begin(), digits.end());
}

/// Whether `action` succeeds.
/// @throws RuleBroken when it fails with another code than these
template <class Action>
bool succeeds(const Action& action, std::initializer_list<ErrorCode> codes) {
    try {
        action();
        return true;
    } catch (const Exception& failure) {
        expect(std::find(codes.begin(), codes.end(), failure.getErrorCode()) != codes.end(),
               fmt::format("an operation in a race fails with {}", failure.what()));
        return false;
    }
}

/// Four threads run the same action. In every round, exactly one succeeds and the others fail with `code`.
void expectOneWinner(const std::function<void(int thread, int round)>& action, ErrorCode code,
                     std::string_view operation) {
    std::vector<std::atomic<int>> winners(raceRounds);
    const auto expectOneIn = [&](int round) {
        const int count = winners[static_cast<std::size_t>(round)];
        expect(count == 1, fmt::format("of 4 threads {}, {} succeed", operation, count));
    };
    race([&](int thread, int round) {
        if (round > 0) {
            expectOneIn(round - 1);
        }
        if (succeeds([&] { action(thread, round); }, {code})) {
            ++winners[static_cast<std::size_t>(round)];
        }
    });
    expectOneIn(raceRounds - 1);
}

void oneCreatesTheFile(CheckContext& context) {
    const IProvider& provider = context.provider();
    expectOneWinner([&](int, int round) { provider.doCreateFile(context.at(numbered(u"f", round))); },
                    ErrorCode::AlreadyExists, "creating one file");
}

void oneCreatesTheFolder(CheckContext& context) {
    const IProvider& provider = context.provider();
    expectOneWinner([&](int, int round) { provider.doCreateFolder(context.at(numbered(u"d", round))); },
                    ErrorCode::AlreadyExists, "creating one folder");
}

void makeNumberedFiles(CheckContext& context) {
    for (int round = 0; round < raceRounds; ++round) {
        makeFile(context.provider(), context.at(numbered(u"f", round)), "bytes");
    }
}

void oneRemovesTheFile(CheckContext& context) {
    const IProvider& provider = context.provider();
    makeNumberedFiles(context);
    expectOneWinner([&](int, int round) { provider.doRemoveFile(context.at(numbered(u"f", round))); },
                    ErrorCode::NotFound, "removing one file");
}

void oneMovesTheFile(CheckContext& context) {
    const IProvider& provider = context.provider();
    makeNumberedFiles(context);
    for (int thread = 0; thread < threadCount; ++thread) {
        provider.doCreateFolder(context.at(numbered(u"d", thread)));
    }
    expectOneWinner(
        [&](int thread, int round) {
            provider.doMoveFile(context.at(numbered(u"f", round)),
                                context.at(numbered(u"d", thread) + numbered(u"/f", round)),
                                policies::refuse);
        },
        ErrorCode::NotFound, "moving one file");
    std::size_t files = 0;
    for (int thread = 0; thread < threadCount; ++thread) {
        files += provider.doListFilesNamesOnly(context.at(numbered(u"d", thread))).size();
    }
    expect(files == raceRounds,
           fmt::format("of {} files that threads moved, {} have arrived", raceRounds, files));
}

void openersShareTheNewFile(CheckContext& context) {
    const IProvider& provider = context.provider();
    race([&](int, int round) {
        writeText(*openToAppend(provider, context.at(numbered(u"f", round))), "record;");
    });
    for (int round = 0; round < raceRounds; ++round) {
        expect(contentOf(provider, context.at(numbered(u"f", round))) == "record;record;record;record;",
               "a record is lost from a file that 4 threads opened and created together");
    }
}

constexpr std::array cycle{u"a", u"b", u"c"};

using MoveOperation = void (IProvider::*)(const StorageIRI&, const StorageIRI&,
                                          const ReplacementPolicy&) const;

/// The only location of the cycle that has an entry. @throws RuleBroken unless there is exactly one
StorageIRI placeInCycle(CheckContext& context) {
    const auto names = context.provider().doListAllNamesOnly(context.at(u""));
    expect(names.size() == 1,
           fmt::format("an entry that 4 threads moved around is at {} locations", names.size()));
    return context.at(names.front());
}

/// Two threads move the entry forward through the three locations, two move it backward. All threads stop
/// regularly, and the entry must then be at exactly one location.
StorageIRI moveInCycle(CheckContext& context, MoveOperation move) {
    const auto moveOn = [&](int thread, int place) {
        const StorageIRI source = context.at(cycle[static_cast<std::size_t>(place % 3)]);
        const StorageIRI destination =
            context.at(cycle[static_cast<std::size_t>((place + 1 + thread % 2) % 3)]);
        (context.provider().*move)(source, destination, policies::refuse);
    };
    for (int stop = 0; stop < 50; ++stop) {
        together([&](int thread) {
            for (int i = 0; i < 25; ++i) {
                succeeds([&] { moveOn(thread, i); }, {ErrorCode::NotFound, ErrorCode::AlreadyExists});
            }
        });
        placeInCycle(context);
    }
    return placeInCycle(context);
}

void fileMovesInCycles(CheckContext& context) {
    makeFile(context.provider(), context.at(u"a"), "bytes");
    expect(contentOf(context.provider(), moveInCycle(context, &IProvider::doMoveFile)) == "bytes",
           "a file that 4 threads moved around has other bytes");
}

void folderMovesInCycles(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"a"));
    provider.doCreateFolder(context.at(u"a/sub"));
    makeFile(provider, context.at(u"a/f"), "bytes");
    makeFile(provider, context.at(u"a/sub/g"), "more");
    const std::u16string place = moveInCycle(context, &IProvider::doMoveFolder).getPath();
    expect(contentOf(provider, StorageIRI(place + u"/f")) == "bytes" &&
               contentOf(provider, StorageIRI(place + u"/sub/g")) == "more" &&
               provider.doListAllRecursiveNamesOnly(StorageIRI(place)).size() == 3,
           "a folder that 4 threads moved around has other content");
}

/// A record that contains its thread and number. Lengths vary.
std::string record(int thread, int number) {
    return fmt::format("<{}.{}{}>", thread, number,
                       std::string(static_cast<std::size_t>(number * 7 % 60), '.'));
}

/// Splits the content of a file into records. @throws RuleBroken if a record is torn, lost, duplicated or out
/// of order
void expectWholeRecords(const std::string& content, int recordsOfEach) {
    std::array<int, threadCount> next{};
    std::size_t position = 0;
    while (position < content.size()) {
        const int thread = position + 1 < content.size() ? content[position + 1] - '0' : -1;
        expect(thread >= 0 && thread < threadCount, "an appended record is torn");
        const std::string expected = record(thread, next[static_cast<std::size_t>(thread)]++);
        expect(content.compare(position, expected.size(), expected) == 0,
               "an appended record is torn or lost");
        position += expected.size();
    }
    expect(std::all_of(next.begin(), next.end(), [&](int count) { return count == recordsOfEach; }),
           "an appended record is lost");
}

void appendsAreWhole(CheckContext& context) {
    constexpr int recordsOfEach = 500;
    context.provider().doCreateFile(context.at(u"f"));
    together([&](int thread) {
        const auto stream = openToAppend(context.provider(), context.at(u"f"));
        for (int number = 0; number < recordsOfEach; ++number) {
            writeText(*stream, record(thread, number));
        }
    });
    expectWholeRecords(contentOf(context.provider(), context.at(u"f")), recordsOfEach);
}

void blocksAreWhole(CheckContext& context) {
    constexpr std::size_t blockSize = 8192;
    const IProvider& provider = context.provider();
    makeFile(provider, context.at(u"f"), std::string(blockSize, 'x'));
    const auto read = [&] {
        const std::string block = readOnce(*openForReading(provider, context.at(u"f")), blockSize);
        expect(block == std::string(blockSize, block.front()), "a read sees part of a write");
    };
    const auto write = [&](int thread, int round) {
        const auto letter = static_cast<char>('a' + (round + thread) % 26);
        writeText(*openStream(provider, context.at(u"f")), std::string(blockSize, letter));
    };
    runAlongside(300, read, write);
}

void listingsMissNothing(CheckContext& context) {
    const IProvider& provider = context.provider();
    std::set<std::u16string> staying;
    for (int i = 0; i < 20; ++i) {
        staying.insert(numbered(u"m", i));
        provider.doCreateFile(context.at(numbered(u"m", i)));
    }
    const auto comeAndGo = [&](int thread, int round) {
        const StorageIRI file = context.at(numbered(round % 2 == 0 ? u"a" : u"z", thread));
        provider.doCreateFile(file);
        provider.doRemoveFile(file);
    };
    const auto list = [&] {
        for (const auto operation : {&IProvider::doListAll, &IProvider::doListFiles}) {
            std::set<std::u16string> seen;
            const auto listing = requireNonNull((provider.*operation)(context.at(u"")), "listing");
            while (listing->hasNext()) {
                listing->step();
                expect(seen.insert(listing->getEntry().getName()).second, "a listing yields an entry twice");
            }
            expect(std::includes(seen.begin(), seen.end(), staying.begin(), staying.end()),
                   "a listing misses a file that stays while others are created and removed");
        }
    };
    runAlongside(300, list, comeAndGo);
}

/// Folders with content come and go while the tree that contains them is listed.
void recursiveListingsMissNothing(CheckContext& context) {
    const IProvider& provider = context.provider();
    const std::set<std::u16string> staying{u"m", u"m/f", u"m/sub", u"m/sub/f", u"z"};
    provider.doCreateFolderRecursive(context.at(u"m/sub"));
    for (const char16_t* file : {u"m/f", u"m/sub/f", u"z"}) {
        provider.doCreateFile(context.at(file));
    }
    const auto comeAndGo = [&](int thread, int) {
        const std::u16string folder = numbered(u"d", thread);
        provider.doCreateFolderRecursive(context.at(folder + u"/sub"));
        provider.doCreateFile(context.at(folder + u"/sub/f"));
        provider.doRemoveFolderRecursively(context.at(folder));
    };
    const auto expectComplete = [&](const std::vector<std::u16string>& names) {
        std::set<std::u16string> seen;
        for (const std::u16string& name : names) {
            const std::size_t end = name.rfind(u'/');
            expect(end == std::u16string::npos || seen.contains(name.substr(0, end)),
                   "a recursive listing yields an entry without its folder");
            expect(seen.insert(name).second, "a recursive listing yields an entry twice");
        }
        expect(std::includes(seen.begin(), seen.end(), staying.begin(), staying.end()),
               "a recursive listing misses an entry that stays while others are created and removed");
    };
    const auto list = [&] {
        expectComplete(provider.doListAllRecursiveNamesOnly(context.at(u"")));
        std::vector<std::u16string> names;
        const auto listing = requireNonNull(provider.doListAllRecursive(context.at(u"")), "listing");
        while (listing->hasNext()) {
            listing->step();
            names.push_back(listing->getEntry().getName());
        }
        expectComplete(names);
    };
    runAlongside(150, list, comeAndGo);
}

void emptyingUnderReaders(CheckContext& context) {
    const IProvider& provider = context.provider();
    const std::string bytes = "abcdefghijklmnopqrstuvwxyz";
    makeFile(provider, context.at(u"f"), bytes);
    const auto read = [&] {
        const std::string first = readOnce(*openForReading(provider, context.at(u"f")), 10);
        expect(first == bytes.substr(0, first.size()),
               "while its file is emptied and rewritten, a stream reads bytes that were never written");
    };
    const auto emptyAndWrite = [&](int, int) {
        writeText(*openStream(provider, context.at(u"f"), {.content = ByteStreamContent::Empty}), bytes);
    };
    runAlongside(1000, read, emptyAndWrite);
}

void everyRecursiveCreatorSucceeds(CheckContext& context) {
    const IProvider& provider = context.provider();
    race([&](int, int round) {
        provider.doCreateFolderRecursive(context.at(numbered(u"d", round) + u"/a/b/c/d/e/f/g/h/i"));
    });
    for (int round = 0; round < raceRounds; ++round) {
        expect(provider.doFolderExists(context.at(numbered(u"d", round) + u"/a/b/c/d/e/f/g/h/i")),
               "a folder that 4 threads created with its parents is missing");
    }
}

void recursiveRemoversDoNotCollide(CheckContext& context) {
    const IProvider& provider = context.provider();
    for (int round = 0; round < raceRounds; ++round) {
        provider.doCreateFolder(context.at(numbered(u"d", round)));
        provider.doCreateFile(context.at(numbered(u"d", round) + u"/f"));
        provider.doCreateFile(context.at(numbered(u"d", round) + u"/g"));
    }
    std::atomic<int> winners = 0;
    race([&](int, int round) {
        const StorageIRI folder = context.at(numbered(u"d", round));
        try {
            provider.doRemoveFolderRecursively(folder);
            ++winners;
        } catch (const Exception& failure) {
            expect(failure.getErrorCode() == ErrorCode::NotFound && failure.getIRI() == folder,
                   fmt::format("removing a folder that another thread also removes fails with {}",
                               failure.what()));
        }
    });
    expect(winners == raceRounds, "a folder is removed by two threads, or by none");
    expect(provider.doListAllNamesOnly(context.at(u"")).empty(),
           "a folder that 4 threads removed still exists");
}

/// In every round, all threads grow a file to the same size.
void growthIsNotAdded(CheckContext& context) {
    constexpr unsigned long long size = 1000;
    const IProvider& provider = context.provider();
    for (int round = 0; round < raceRounds; ++round) {
        provider.doCreateFile(context.at(numbered(u"f", round)));
    }
    race([&](int, int round) { provider.doTruncateToSize(context.at(numbered(u"f", round)), size); });
    for (int round = 0; round < raceRounds; ++round) {
        const unsigned long long seen =
            provider.doGetFileAttributes(context.at(numbered(u"f", round))).getSize();
        expect(seen == size, fmt::format("a file that 4 threads grow to {} bytes has {}", size, seen));
    }
}

void copiesAppearWhole(CheckContext& context) {
    const IProvider& provider = context.provider();
    std::vector<std::string> contents;
    for (int thread = 0; thread < threadCount; ++thread) {
        contents.emplace_back(5000, static_cast<char>('a' + thread));
        makeFile(provider, context.at(numbered(u"f", thread)), contents.back());
    }
    makeFile(provider, context.at(u"g"), contents.front());
    const auto look = [&] {
        std::string content;
        if (succeeds([&] { content = contentOf(provider, context.at(u"g")); }, {ErrorCode::NotFound})) {
            expect(std::find(contents.begin(), contents.end(), content) != contents.end(),
                   "a copy appears before it is complete");
        }
    };
    const auto copy = [&](int thread, int round) { // onto a file, or where there is none
        if (round % 2 == 0) {
            succeeds([&] { provider.doRemoveFile(context.at(u"g")); }, {ErrorCode::NotFound});
        }
        provider.doCopyFile(context.at(numbered(u"f", (thread + round) % threadCount)), context.at(u"g"),
                            policies::replace);
    };
    runAlongside(300, look, copy);
    expect(provider.doListAllNamesOnly(context.at(u"")).size() == threadCount + 1,
           "copies by several threads leave temporary files");
}

void queriesFailOnlyWithNotFound(CheckContext& context) {
    const IProvider& provider = context.provider();
    const auto comeAndGo = [&](int thread, int) {
        const std::u16string folder = numbered(u"d", thread);
        provider.doCreateFolder(context.at(folder));
        makeFile(provider, context.at(folder + u"/f"), "bytes");
        provider.doMoveFile(context.at(folder + u"/f"), context.at(folder + u"/g"), policies::refuse);
        provider.doRemoveFolderRecursively(context.at(folder));
    };
    provider.doCreateFile(context.at(u"stays"));
    const auto ask = [&] {
        const StorageIRI file = context.at(u"d0/f");
        expect(provider.doFileExists(context.at(u"stays")) && provider.doFolderExists(context.at(u"")),
               "an entry that stays is not found while others are created and removed");
        provider.doFileExists(file);
        succeeds([&] { provider.doGetFileAttributes(file); }, {ErrorCode::NotFound});
        succeeds([&] { provider.doGetFolderAttributes(context.at(u"d0")); }, {ErrorCode::NotFound});
        succeeds([&] { readRest(*openForReading(provider, file)); }, {ErrorCode::NotFound});
        succeeds([&] { provider.doListAll(context.at(u"d0")); }, {ErrorCode::NotFound});
        succeeds([&] { provider.doGetExtendedAttributes(file); }, {ErrorCode::NotFound});
    };
    runAlongside(300, ask, comeAndGo);
}

void threadsDoNotDisturbEachOther(CheckContext& context) {
    const IProvider& provider = context.provider();
    together([&](int thread) {
        const std::u16string folder = numbered(u"d", thread);
        provider.doCreateFolder(context.at(folder));
        for (int i = 0; i < 100; ++i) {
            const StorageIRI file = context.at(folder + numbered(u"/f", i));
            makeFile(provider, file, fmt::format("{}", thread * 1000 + i));
            if (i % 2 == 0) {
                provider.doMoveFile(file, context.at(folder + numbered(u"/g", i)), policies::refuse);
            }
            if (i % 4 == 1) {
                provider.doRemoveFile(file);
            }
        }
    });
    for (int thread = 0; thread < threadCount; ++thread) {
        const std::u16string folder = numbered(u"d", thread);
        expect(provider.doListAllNamesOnly(context.at(folder)).size() == 75,
               "threads that each work in their own folder affect each other");
        for (int i = 0; i < 100; i += 2) {
            expect(contentOf(provider, context.at(folder + numbered(u"/g", i))) ==
                       std::to_string(thread * 1000 + i),
                   "a file of one thread has other bytes than the thread wrote");
        }
    }
}

void timesAreWhole(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doCreateFile(context.at(u"f"));
    const auto timeOf = [](int number) {
        using namespace boost::posix_time;
        return ptime(boost::gregorian::date(2001, 2, static_cast<unsigned short>(number)),
                     hours(number) + minutes(number));
    };
    provider.doSetLastModified(context.at(u"f"), timeOf(1));
    const auto read = [&] {
        const auto time = provider.doGetFileAttributes(context.at(u"f")).getLastModified();
        const auto off = time - timeOf(static_cast<int>(time.time_of_day().hours()));
        expect(off.abs() <= boost::posix_time::seconds(2), // a storage may round times
               "a time is read that no thread has set");
    };
    const auto set = [&](int thread, int round) {
        provider.doSetLastModified(context.at(u"f"), timeOf(1 + (round + thread) % 5));
    };
    runAlongside(1000, read, set);
}

void clonesAreIndependent(CheckContext& context) {
    const IProvider& provider = context.provider();
    for (int i = 0; i < 50; ++i) {
        provider.doCreateFile(context.at(numbered(u"f", i)));
    }
    const auto listing = requireNonNull(provider.doListAll(context.at(u"")), "listing");
    std::vector<std::unique_ptr<IFolderEntryIterator>> clones;
    clones.reserve(threadCount);
    for (int thread = 0; thread < threadCount; ++thread) {
        clones.push_back(requireNonNull(listing->clone(), "clone of a listing"));
    }
    together([&](int thread) {
        IFolderEntryIterator& clone = *clones[static_cast<std::size_t>(thread)];
        std::set<std::u16string> seen;
        while (clone.hasNext()) {
            clone.step();
            seen.insert(clone.getEntry().getName());
        }
        expect(seen.size() == 50,
               fmt::format("a clone of a listing of 50 files yields {} of them", seen.size()));
    });
}

/// Runs each action on its own thread. All threads exist until the destructor, so no two have the same id.
///
/// Owns the threads. Not thread-safe.
class DistinctThreads {
public:
    DistinctThreads() = default;
    DistinctThreads(const DistinctThreads&) = delete;
    DistinctThreads& operator=(const DistinctThreads&) = delete;
    ~DistinctThreads() {
        end_.set_value();
        for (std::thread& each : threads_) {
            each.join();
        }
    }

    /// Waits until the action ends. @throws whatever it throws
    void run(const std::function<void()>& action) {
        std::packaged_task<void()> task(action);
        std::future<void> done = task.get_future();
        threads_.emplace_back([task = std::move(task), end = ended_]() mutable {
            task();
            end.wait();
        });
        done.get();
    }

private:
    std::promise<void> end_;
    std::shared_future<void> ended_ = end_.get_future().share();
    std::vector<std::thread> threads_;
};

void streamsChangeThreads(CheckContext& context) {
    DistinctThreads threads;
    makeFile(context.provider(), context.at(u"f"), "0123456789");
    std::unique_ptr<ByteStream> stream;
    threads.run([&] { stream = openStream(context.provider(), context.at(u"f")); });
    expect(readOnce(*stream, 1) == "0",
           "a stream does not read on another thread than the one that opened it");
    threads.run([&] { seekTo(*stream, 4, std::ios_base::beg); });
    expect(positionOf(*stream) == 4, "a seek on another thread does not move the position");
    threads.run([&] { writeText(*stream, "ab"); });
    expect(contentOf(context.provider(), context.at(u"f")) == "0123ab6789",
           "a stream does not write on another thread than the one that opened it");
    threads.run([&] { expect(readOnce(*stream, 1) == "6", "a stream does not read on a third thread"); });
    const auto appender = openToAppend(context.provider(), context.at(u"a"));
    threads.run([&] { writeText(*appender, "one"); });
    writeText(*appender, "two");
    expect(contentOf(context.provider(), context.at(u"a")) == "onetwo",
           "a stream does not append on another thread than the one that opened it");
    stream->write("c", 1);
    threads.run([&] { stream.reset(); });
    expect(contentOf(context.provider(), context.at(u"f")) == "0123ab6c89",
           "a stream that another thread destroys loses its last write");
}

void listingsChangeThreads(CheckContext& context) {
    DistinctThreads threads;
    for (int i = 0; i < 4; ++i) {
        context.provider().doCreateFile(context.at(numbered(u"f", i)));
    }
    std::unique_ptr<IFolderEntryIterator> listing;
    std::unique_ptr<IFolderEntryIterator> clone;
    std::set<std::u16string> seen;
    threads.run([&] { listing = requireNonNull(context.provider().doListAll(context.at(u"")), "listing"); });
    for (int i = 0; i < 2; ++i) {
        expect(listing->hasNext(), "a listing ends early on another thread than the one that made it");
        listing->step();
        seen.insert(listing->getEntry().getName());
    }
    threads.run([&] { clone = requireNonNull(listing->clone(), "clone of a listing"); });
    threads.run([&] { listing.reset(); });
    while (clone->hasNext()) {
        clone->step();
        seen.insert(clone->getEntry().getName());
    }
    expect(seen.size() == 4,
           fmt::format("a listing of 4 files that changes threads yields {} of them", seen.size()));
}

void providersChangeThreads(CheckContext& context) {
    DistinctThreads threads;
    context.provider();
    std::optional<LoadedProvider> provider;
    threads.run([&] { provider.emplace(context.library().buildProvider()); });
    if (!(*provider)->doFolderExists(context.at(u""))) {
        (*provider)->doCreateFolder(context.at(u""));
    }
    makeFile(**provider, context.at(u"f"), "bytes");
    expect(contentOf(**provider, context.at(u"f")) == "bytes",
           "a provider that another thread has made returns other bytes than were written");
    threads.run([&] {
        expect(contentOf(**provider, context.at(u"f")) == "bytes",
               "what one thread created with a provider does not exist for another one");
        expect((*provider)->doGetFileAttributes(context.at(u"f")).isWritable(), "a new file is read-only");
    });
    (*provider)->doSetWritable(context.at(u"f"), false);
    threads.run([&] {
        expect(!(*provider)->doGetFileAttributes(context.at(u"f")).isWritable(),
               "the flag that one thread has set is not seen by another one");
        (*provider)->doSetWritable(context.at(u"f"), true);
    });
    (*provider)->doMoveFile(context.at(u"f"), context.at(u"g"), policies::refuse);
    threads.run([&] { (*provider)->doRemoveFile(context.at(u"g")); });
    threads.run([&] { provider.reset(); });
}

/// Random changes at a few names. Counts the entries at each name: each success adds or removes one.
class RandomChanges {
public:
    explicit RandomChanges(CheckContext& context) : context_(context) {}

    void run(std::mt19937_64 random, int steps) {
        for (int i = 0; i < steps; ++i) {
            if (random() % 4 == 0) {
                std::this_thread::yield();
            }
            step(random() % 6, random() % names.size(), random() % names.size());
        }
    }

    void expectBalanced() const {
        for (std::size_t i = 0; i < names.size(); ++i) {
            const bool exists = context_.provider().doExists(context_.at(names[i]));
            expect(entries_[i] == (exists ? 1 : 0),
                   fmt::format("at one location, threads have created {} entries more than they have "
                               "removed, but {} exists",
                               entries_[i].load(), exists ? "one" : "none"));
        }
    }

private:
    static constexpr std::array names{u"a", u"b", u"c"};

    void step(std::size_t operation, std::size_t from, std::size_t to) {
        const IProvider& provider = context_.provider();
        const StorageIRI source = context_.at(names[from]);
        const StorageIRI destination = context_.at(names[to]);
        const std::array<std::function<void()>, 6> operations{
            [&] { provider.doCreateFile(source); },
            [&] { provider.doCreateFolder(source); },
            [&] { provider.doRemoveFile(source); },
            [&] { provider.doRemoveFolder(source); },
            [&] { provider.doMoveFile(source, destination, policies::refuse); },
            [&] { provider.doMoveFolder(source, destination, policies::refuse); },
        };
        if (succeeds(operations[operation], {ErrorCode::NotFound, ErrorCode::AlreadyExists})) {
            entries_[from] += operation < 2 ? 1 : -1;
            entries_[to] += operation < 4 ? 0 : 1;
        }
    }

    CheckContext& context_;
    std::array<std::atomic<int>, names.size()> entries_{};
};

void changesAreCounted(CheckContext& context) {
    context.provider();
    RandomChanges changes(context);
    for (int round = 0; round < 20; ++round) {
        std::array<std::uint64_t, threadCount> seeds{};
        std::generate(seeds.begin(), seeds.end(), [&] { return context.random()(); });
        together(
            [&](int thread) { changes.run(std::mt19937_64(seeds[static_cast<std::size_t>(thread)]), 60); });
        changes.expectBalanced();
    }
}

/// Two threads each create a file in a folder that two others try to remove.
void onlyEmptyFoldersAreRemoved(CheckContext& context) {
    const IProvider& provider = context.provider();
    std::array<std::array<bool, 2>, raceRounds> created{};
    for (int round = 0; round < raceRounds; ++round) {
        provider.doCreateFolder(context.at(numbered(u"d", round)));
    }
    const auto fileOf = [&](int thread, int round) {
        return context.at(numbered(u"d", round) + numbered(u"/f", thread));
    };
    race([&](int thread, int round) {
        if (thread < 2) {
            created[static_cast<std::size_t>(round)][static_cast<std::size_t>(thread)] =
                succeeds([&] { provider.doCreateFile(fileOf(thread, round)); }, {ErrorCode::NotFound});
        } else {
            succeeds([&] { provider.doRemoveFolder(context.at(numbered(u"d", round))); },
                     {ErrorCode::NotFound, ErrorCode::FolderNotEmpty});
        }
    });
    for (int round = 0; round < raceRounds; ++round) {
        for (const int thread : {0, 1}) {
            expect(provider.doFileExists(fileOf(thread, round)) ==
                       created[static_cast<std::size_t>(round)][static_cast<std::size_t>(thread)],
                   "a folder is removed together with a file that another thread has created in it");
        }
    }
}

/// Each thread moves files of its own between the same folders, two in each direction.
void movesInOppositeDirections(CheckContext& context) {
    const IProvider& provider = context.provider();
    constexpr std::array folders{u"a", u"b", u"b/c"};
    for (const char16_t* folder : folders) {
        provider.doCreateFolder(context.at(folder));
    }
    for (int thread = 0; thread < threadCount; ++thread) {
        makeFile(provider, context.at(u"a/" + numbered(u"f", thread)), "bytes");
    }
    race([&](int thread, int round) {
        const auto at = [&](int place) {
            const auto index = static_cast<std::size_t>(thread % 2 == 0 ? place % 3 : (300 - place) % 3);
            return context.at(std::u16string(folders[index]) + numbered(u"/f", thread));
        };
        provider.doMoveFile(at(round), at(round + 1), policies::refuse);
    });
    for (int thread = 0; thread < threadCount; ++thread) {
        const std::u16string_view folder =
            folders[static_cast<std::size_t>(thread % 2 == 0 ? raceRounds % 3 : (300 - raceRounds) % 3)];
        expect(contentOf(provider, context.at(std::u16string(folder) + numbered(u"/f", thread))) == "bytes",
               "a file that one of several threads moved through folders has other bytes");
    }
}

void failuresNameTheirOwnLocation(CheckContext& context) {
    const IProvider& provider = context.provider();
    for (int thread = 0; thread < threadCount; ++thread) {
        provider.doCreateFile(context.at(numbered(u"f", thread)));
    }
    race([&](int thread, int) {
        const StorageIRI file = context.at(numbered(u"f", thread));
        const StorageIRI missing = context.at(numbered(u"n", thread));
        expectFailure([&] { provider.doCreateFile(file); }, ErrorCode::AlreadyExists, file,
                      "creating a file on one of several threads");
        expectFailure([&] { provider.doRemoveFile(missing); }, ErrorCode::NotFound, missing,
                      "removing a missing file on one of several threads");
        expectFailure([&] { provider.doOpenReadOnlyStream(missing); }, ErrorCode::NotFound, missing,
                      "opening a missing file on one of several threads");
        expectFailure([&] { provider.doListAll(missing); }, ErrorCode::NotFound, missing,
                      "listing a missing folder on one of several threads");
    });
}

constexpr std::array table{
    Check{"13.1", "threads.one-creates-file", "Of several threads that create one file, one succeeds.",
          Profile::AnyProvider, oneCreatesTheFile},
    Check{"13.2", "threads.one-creates-folder", "Of several threads that create one folder, one succeeds.",
          Profile::AnyProvider, oneCreatesTheFolder},
    Check{"13.3", "threads.one-removes-file",
          "Of several threads that remove one file, one succeeds; the others get NotFound.",
          Profile::AnyProvider, oneRemovesTheFile},
    Check{"13.4", "threads.one-moves-file",
          "Of several threads that move one file, one succeeds; the others get NotFound.",
          Profile::AnyProvider, oneMovesTheFile},
    Check{"13.5", "threads.openers-share-new-file",
          "Threads that open a missing file at once all get streams on the same new file.",
          Profile::AnyProvider, openersShareTheNewFile},
    Check{"13.6", "threads.file-in-cycles",
          "A file that threads move around is at exactly one location in the end, with its bytes.",
          Profile::AnyProvider, fileMovesInCycles},
    Check{"13.7", "threads.folder-in-cycles",
          "A folder that threads move around is at exactly one location in the end, with its content.",
          Profile::AnyProvider, folderMovesInCycles},
    Check{
        "13.8", "threads.appends-are-whole",
        "Records that threads append to one file are complete and in the order of each thread; none is lost.",
        Profile::AnyProvider, appendsAreWhole},
    Check{"13.9", "threads.blocks-are-whole", "A read sees a concurrent write completely or not at all.",
          Profile::InMemoryProvider, blocksAreWhole},
    Check{"13.10", "threads.listings-miss-nothing",
          "While entries are created and removed, a listing has each of the others exactly once.",
          Profile::AnyProvider, listingsMissNothing},
    Check{"13.11", "threads.emptying-under-readers",
          "While a file is emptied and rewritten, readers see only bytes that were written.",
          Profile::AnyProvider, emptyingUnderReaders},
    Check{"13.12", "threads.recursive-creators",
          "Threads that create one folder and its parents all succeed.", Profile::AnyProvider,
          everyRecursiveCreatorSucceeds},
    Check{"13.13", "threads.recursive-removers",
          "Of several threads that remove one tree, one succeeds; the others get NotFound.",
          Profile::AnyProvider, recursiveRemoversDoNotCollide},
    Check{"13.14", "threads.copies-appear-whole", "A copy is complete when other threads see it.",
          Profile::AnyProvider, copiesAppearWhole},
    Check{"13.15", "threads.queries",
          "Queries of entries that are created and removed meanwhile fail only with NotFound.",
          Profile::AnyProvider, queriesFailOnlyWithNotFound},
    Check{"13.16", "threads.own-folders", "Threads that work in their own folders do not affect each other.",
          Profile::AnyProvider, threadsDoNotDisturbEachOther},
    Check{"13.17", "threads.times-are-whole", "A time that is read is one that was set.",
          Profile::AnyProvider, timesAreWhole},
    Check{"13.18", "threads.clones", "Clones of one listing can be used on different threads.",
          Profile::AnyProvider, clonesAreIndependent},
    Check{"13.19", "threads.streams-change-threads",
          "A stream can be used on threads other than the one that opened it.", Profile::AnyProvider,
          streamsChangeThreads},
    Check{"13.20", "threads.listings-change-threads",
          "A listing can be used on threads other than the one that made it.", Profile::AnyProvider,
          listingsChangeThreads},
    Check{"13.21", "threads.providers-change-threads",
          "A provider can be used on threads other than the one that made it.", Profile::AnyProvider,
          providersChangeThreads},
    Check{"13.22", "threads.changes-are-counted",
          "After random changes by several threads, exactly the entries of the successful operations exist.",
          Profile::AnyProvider, changesAreCounted},
    Check{"13.23", "threads.only-empty-folders-removed",
          "A folder is removed only while it is empty, even if other threads create files in it.",
          Profile::AnyProvider, onlyEmptyFoldersAreRemoved},
    Check{"13.24", "threads.failures-name-own-location",
          "Failures on several threads at once each name the location of their own call.",
          Profile::AnyProvider, failuresNameTheirOwnLocation},
    Check{"13.25", "threads.opposite-moves",
          "Threads that move files between the same folders in opposite directions all succeed.",
          Profile::AnyProvider, movesInOppositeDirections},
    Check{"13.26", "threads.recursive-listings-miss-nothing",
          "A recursive listing treats a folder removed meanwhile as empty, and yields every remaining entry "
          "once.",
          Profile::AnyProvider, recursiveListingsMissNothing},
    Check{"13.27", "threads.growth", "A file that several threads grow to one size gets that size.",
          Profile::AnyProvider, growthIsNotAdded},
};

} // namespace
} // namespace thread_checks

std::span<const Check> threads() {
    return thread_checks::table;
}

} // namespace storage::host::checks
