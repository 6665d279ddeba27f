#include "hostapi/storage/provider/ByteStreamTransfer.h"
#include "hostapi/storage/provider/ListingRange.h"
#include "hostapi/storage/provider/WildcardPattern.h"
#include "tests/host/validate/faults/BrokenProvider.h"
#include "tests/host/validate/faults/FaultCatalogue.h"
#include "tests/host/validate/faults/LocationParts.h"
#include "tests/host/validate/variants/AlteredProvider.h"
#include "tests/support/ForwardingStream.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

// Defects of other providers, collected by kind of operation and not derived from the rules.

namespace faults {

using namespace foundation::storage::provider;

namespace foreign_faults {
namespace {

using Entries = Alterations::Entries;
using Listing = HookedProvider::Listing;
using Policy = ReplacementPolicy;
using Stream = Alterations::Stream;
using boost::posix_time::ptime;
using boost::posix_time::seconds;

// Names

std::u16string withoutLastBlank(std::u16string name) {
    return name.size() > 1 && name.back() == u' ' ? name.substr(0, name.size() - 1) : name;
}

int hexDigit(char16_t unit) {
    const std::u16string_view digits = u"0123456789ABCDEF";
    return static_cast<int>(std::min<std::size_t>(digits.find(unit), 16));
}

std::u16string percentDecoded(std::u16string name) {
    for (std::size_t at = name.find(u'%'); at < name.size(); at = name.find(u'%', at + 1)) {
        const int first = at + 2 < name.size() ? hexDigit(name[at + 1]) : 16;
        const int second = at + 2 < name.size() ? hexDigit(name[at + 2]) : 16;
        if (first < 16 && second < 16) {
            name.replace(at, 3, 1, static_cast<char16_t>(first * 16 + second));
        }
    }
    return name;
}

template <char16_t (*changed)(char16_t)>
std::u16string eachUnit(std::u16string name) {
    std::transform(name.begin(), name.end(), name.begin(), changed);
    return name;
}

char16_t narrow(char16_t unit) {
    return unit > 0xFF00 && unit < 0xFF5F ? static_cast<char16_t>(unit - 0xFEE0) : unit;
}

char16_t latinInLowerCase(char16_t unit) {
    return unit >= 0xC0 && unit <= 0xDE && unit != 0xD7 ? static_cast<char16_t>(unit + 0x20) : unit;
}

char16_t cyrillicInLowerCase(char16_t unit) {
    return unit >= 0x410 && unit <= 0x42F ? static_cast<char16_t>(unit + 0x20) : unit;
}

struct WideSlashSeparates final : BrokenProvider {
    void doCreateFile(const StorageIRI& iri) const override {
        std::u16string path = iri.getPath();
        std::replace(path.begin(), path.end(), u'\uFF0F', u'/');
        sound().doCreateFile(StorageIRI(path));
    }
};

std::u16string withoutInvisible(std::u16string name) {
    std::erase_if(name, [](char16_t unit) { return unit == 0xAD || (unit >= 0x200B && unit <= 0x200D); });
    return name;
}

std::u16string untilColon(std::u16string name) {
    return name.substr(0, std::max<std::size_t>(name.find(u':'), 1));
}

std::u16string cutAt200(std::u16string name) {
    return name.substr(0, 200);
}

void moveToTrimmedName(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                       const Policy& policy) {
    sound.doMoveFile(from, StorageIRI(withoutLastBlank(to.getPath())), policy);
}

// Sizes

constexpr long block = 65536;

struct LongWritesEnd final : ForwardingStream {
    using ForwardingStream::ForwardingStream;

    long write(const char* buffer, long count) override {
        inner().write(buffer, std::min(count, block));
        return count;
    }
};

struct LongReadsSkip final : ForwardingStream {
    using ForwardingStream::ForwardingStream;

    long read(char* buffer, long count) override {
        const long copied = inner().read(buffer, std::min(count, block));
        if (copied == block && count > block) {
            inner().seek(1, std::ios_base::cur);
        }
        return copied;
    }
};

struct FilesEndAt8MiB final : ForwardingStream {
    using ForwardingStream::ForwardingStream;

    long write(const char* buffer, long count) override {
        return std::streamoff(inner().seek(0, std::ios_base::cur)) > 8L << 20U ? count
                                                                               : inner().write(buffer, count);
    }
};

Entries withOverlap(Entries entries) {
    if (entries.size() > 500) {
        entries.insert(entries.begin() + 500, FolderEntry(entries[499]));
    }
    return entries;
}

// Bytes

struct DropsByteOrderMark final : ForwardingStream {
    using ForwardingStream::ForwardingStream;

    long write(const char* buffer, long count) override {
        const bool isMarked = count >= 3 && std::memcmp(buffer, "\xEF\xBB\xBF", 3) == 0;
        inner().write(buffer + (isMarked ? 3 : 0), count - (isMarked ? 3 : 0));
        return count;
    }
};

/// A write of half a kilobyte or more at the beginning clears the bytes after it.
struct LongWritesClearTheRest final : ForwardingStream {
    using ForwardingStream::ForwardingStream;

    long write(const char* buffer, long count) override {
        const auto position = std::streamoff(inner().seek(0, std::ios_base::cur));
        inner().write(buffer, count);
        const auto size = std::streamoff(inner().seek(0, std::ios_base::end));
        if (position == 0 && count >= 512 && size > count) {
            const std::string zeros(static_cast<std::size_t>(size - count), '\0');
            inner().seek(count, std::ios_base::beg);
            inner().write(zeros.data(), size - count);
        }
        inner().seek(position + count, std::ios_base::beg);
        return count;
    }
};

struct AppendingNeverEmpties final : BrokenProvider {
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        OpenOptions changed = options;
        if (options.append == ByteStreamAppend::AppendAtEnd) {
            changed.content = ByteStreamContent::Keep;
        }
        return sound().doOpenStream(iri, changed);
    }
};

// Times

struct TimeClearsFlag final : BrokenProvider {
    void doSetLastModified(const StorageIRI& iri, const ptime& time) const override {
        sound().doSetLastModified(iri, time);
        sound().doSetWritable(iri, true);
    }
};

ptime anHourMoreInSummer(const ptime& time) {
    return !time.is_special() && time.date().month() > 3 && time.date().month() < 11 ? time + seconds(3600)
                                                                                     : time;
}

ptime withoutLeapDays(const ptime& time) {
    return !time.is_special() && time.date().month() == 2 && time.date().day() == 29 ? time + seconds(86400)
                                                                                     : time;
}

ptime inTenSeconds(const ptime& time) {
    return time.is_special() ? time : time - seconds(time.time_of_day().seconds() % 10);
}

void createLate(const IProvider& sound, const StorageIRI& iri) {
    sound.doCreateFile(iri);
    sound.doSetLastModified(iri, boost::posix_time::microsec_clock::universal_time() + seconds(5));
}

// Threads

/// Appends in two steps: seek, then write.
struct SeekThenWrite final : ForwardingStream {
    SeekThenWrite(Stream appending, Stream writing)
        : ForwardingStream(std::move(writing)), appending_(std::move(appending)) {}

    long write(const char* buffer, long count) override {
        inner().seek(0, std::ios_base::end);
        openTheWindow();
        return inner().write(buffer, count);
    }

private:
    const Stream appending_;
};

struct AppendsByTwoSteps final : BrokenProvider {
    Stream doOpenStream(const StorageIRI& iri, const OpenOptions& options) const override {
        Stream stream = sound().doOpenStream(iri, options);
        return options.append == ByteStreamAppend::AppendAtEnd
                   ? std::make_unique<SeekThenWrite>(std::move(stream), sound().doOpenStream(iri, {}))
                   : std::move(stream);
    }
};

/// Shares one buffer between the reads of all streams.
struct CommonBuffer final : ForwardingStream {
    using ForwardingStream::ForwardingStream;

    long read(char* buffer, long count) override {
        static std::array<char, 4096> common;
        const long copied = inner().read(common.data(), std::min<long>(count, common.size()));
        openTheWindow();
        std::memcpy(buffer, common.data(), static_cast<std::size_t>(std::max(copied, 0L)));
        return copied;
    }
};

/// Loses a file that is created between the test for emptiness and the removal.
void removeFolderWithoutLock(const IProvider& sound, const StorageIRI& iri) {
    if (sound.doListAll(iri)->hasNext()) {
        throw Exception(ErrorCode::FolderNotEmpty, iri);
    }
    openTheWindow();
    try {
        sound.doRemoveFolderRecursively(iri);
    } catch (const Exception& failure) {
        throw Exception(failure.getErrorCode(), iri);
    }
}

void moveByCopying(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                   const Policy& policy) {
    if (from == to) {
        return sound.doMoveFile(from, to, policy);
    }
    const bool writable = sound.doGetFileAttributes(from).isWritable();
    sound.doCopyFile(from, to, policy);
    sound.doSetWritable(from, true);
    sound.doRemoveFile(from);
    sound.doSetWritable(to, writable);
}

struct FailuresShareALocation final : BrokenProvider {
    void doCreateFile(const StorageIRI& iri) const override {
        try {
            sound().doCreateFile(iri);
        } catch (const Exception& failure) {
            note(iri);
            openTheWindow();
            throw Exception(failure.getErrorCode(), noted());
        }
    }

private:
    void note(const StorageIRI& iri) const {
        const std::lock_guard lock(mutex_);
        latest_ = iri;
    }
    StorageIRI noted() const {
        const std::lock_guard lock(mutex_);
        return latest_;
    }

    mutable std::mutex mutex_;
    mutable StorageIRI latest_{u"/"};
};

/// Reports that the file is missing while another thread moves one.
struct MovesExcludeEachOther final : BrokenProvider {
    void doMoveFile(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const override {
        const std::unique_lock lock(mutex_, std::try_to_lock);
        if (!lock) {
            throw Exception(ErrorCode::NotFound, from);
        }
        openTheWindow();
        sound().doMoveFile(from, to, policy);
    }

private:
    mutable std::mutex mutex_;
};

void moveAndMakeWritable(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                         const Policy& policy) {
    sound.doMoveFile(from, to, policy);
    sound.doSetWritable(to, true);
}

void moveAndCut(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, const Policy& policy) {
    sound.doMoveFile(from, to, policy);
    if (sound.doGetFileAttributes(to).getSize() > block) {
        sound.doTruncateToSize(to, block);
    }
}

// Operations with a default

struct PatternsWithoutCase final : BrokenProvider {
    Listing doListFilesWildcards(const StorageIRI& iri, std::u16string pattern) const override {
        Entries entries;
        for (const FolderEntry& entry : readEntries(sound().doListFiles(iri))) {
            const WildcardPattern wanted(inLowerCase(pattern));
            if (wanted.matches(inLowerCase(entry.getName()))) {
                entries.push_back(entry);
            }
        }
        return std::make_unique<ListingOfEntries>(entries);
    }
};

struct RecursionOf16Levels final : BrokenProvider {
    std::vector<std::u16string> doListAllRecursiveNamesOnly(const StorageIRI& iri) const override {
        auto names = sound().doListAllRecursiveNamesOnly(iri);
        std::erase_if(names, [](const std::u16string& name) {
            return std::count(name.begin(), name.end(), u'/') >= 16;
        });
        return names;
    }
};

struct NoListingOfNothing final : BrokenProvider {
    Listing doListAllWildcards(const StorageIRI& iri, std::u16string pattern) const override {
        Listing listing = sound().doListAllWildcards(iri, std::move(pattern));
        return listing->hasNext() ? std::move(listing) : nullptr;
    }
};

// The process

void leakDescriptor(std::string_view operation, const StorageIRI&) {
    if (operation == "openReadOnlyStream") {
        ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    }
}

void leakMemory(std::string_view operation, const StorageIRI&) {
    [[maybe_unused]] static void* volatile leaked = nullptr;
    if (operation == "moveFolder") {
        leaked = ::operator new(64);
    }
}

void setTimer(std::string_view operation, const StorageIRI&) {
    const itimerval hours{{0, 0}, {10'000, 0}};
    if (operation == "listAll") {
        ::setitimer(ITIMER_REAL, &hours, nullptr);
    }
}

void limitDescriptors(std::string_view operation, const StorageIRI&) {
    if (operation == "createFolder") {
        rlimit limit{};
        ::getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = std::min<rlim_t>(limit.rlim_cur, 64);
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

void renameProcess(std::string_view operation, const StorageIRI&) {
    if (operation == "setWritable") {
        ::prctl(PR_SET_NAME, "storage");
    }
}

void closeInput(std::string_view operation, const StorageIRI&) {
    if (operation == "setLastModified") {
        ::close(STDIN_FILENO);
    }
}

// Moves of an entry below itself

void loseByMovingBelowItself(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                             const Policy& policy) {
    if (policy == Policy::RefuseExistingFile && to.getPath().starts_with(from.getPath() + u"/")) {
        return sound.doRemoveFolderRecursively(from);
    }
    sound.doMoveFolder(from, to, policy);
}

constexpr std::array<Fault, 41> table{{
    {"NameLosesLastBlank", "4.19", [] { return altered({.name = withoutLastBlank}); }},
    {"NamePercentDecoded", "4.19", [] { return altered({.name = percentDecoded}); }},
    {"NameInNarrowForms", "4.19", [] { return altered({.name = eachUnit<narrow>}); }},
    {"NameInLatinLowerCase", "4.4", [] { return altered({.name = eachUnit<latinInLowerCase>}); }},
    {"NameWithoutInvisible", "4.19", [] { return altered({.name = withoutInvisible}); }},
    {"NameUntilColon", "4.19", [] { return altered({.name = untilColon}); }},
    {"NameCutAt200", "4.19", [] { return altered({.name = cutAt200}); }},
    {"MoveTrimsName", "4.21", [] { return altered({.moveFile = moveToTrimmedName}); }},
    {"NameInCyrillicLowerCase", "4.22", [] { return altered({.name = eachUnit<cyrillicInLowerCase>}); }},
    {"WideSlashSeparates", "4.23", build<WideSlashSeparates>},
    {"AppendingNeverEmpties", "7.24", build<AppendingNeverEmpties>},
    {"DropsByteOrderMark", "8.36", [] { return altered({.stream = wrapped<DropsByteOrderMark>}); }},
    {"LongWritesClearTheRest", "8.37", [] { return altered({.stream = wrapped<LongWritesClearTheRest>}); }},
    {"MoveCutsLargeFiles", "16.9", [] { return altered({.moveFile = moveAndCut}); }},
    {"TimeClearsFlag", "5.26", build<TimeClearsFlag>},
    {"MoveMakesWritable", "10.27", [] { return altered({.moveFile = moveAndMakeWritable}); }},
    {"FailuresShareALocation", "13.24", build<FailuresShareALocation>},
    {"MovesExcludeEachOther", "13.25", build<MovesExcludeEachOther>},
    {"RenamesTheProcess", "15.14", [] { return altered({.before = renameProcess}); }},
    {"LongWritesEnd", "3.5", [] { return altered({.stream = wrapped<LongWritesEnd>}); }},
    {"LongReadsSkip", "8.34", [] { return altered({.stream = wrapped<LongReadsSkip>}); }},
    {"FilesEndAt8MiB", "8.2", [] { return altered({.stream = wrapped<FilesEndAt8MiB>}); }},
    {"ListingPagesOverlap", "9.28", [] { return altered({.entries = withOverlap}); }},
    {"SummerTimeAnHourOff", "5.22", [] { return altered({.timeOfEntry = anHourMoreInSummer}); }},
    {"NoLeapDays", "5.22", [] { return altered({.timeSet = withoutLeapDays}); }},
    {"TimesInTenSeconds", "5.22", [] { return altered({.timeOfEntry = inTenSeconds}); }},
    {"NewFileFiveSecondsLate", "5.24", [] { return altered({.createFile = createLate}); }},
    {"AppendsByTwoSteps", "13.8", build<AppendsByTwoSteps>},
    {"ReadsThroughCommonBuffer", "13.14", [] { return altered({.stream = wrapped<CommonBuffer>}); }},
    {"RemovesFolderWithoutLock", "13.23", [] { return altered({.removeFolder = removeFolderWithoutLock}); }},
    {"MovesByCopying", "10.12", [] { return altered({.moveFile = moveByCopying}); }},
    {"PatternsWithoutCase", "16.1", build<PatternsWithoutCase>},
    {"RecursionOf16Levels", "16.3", build<RecursionOf16Levels>},
    {"NoListingOfNothing", "12.9", build<NoListingOfNothing>},
    {"DescriptorLeak", "15.1", [] { return altered({.before = leakDescriptor}); }},
    {"MemoryLeakOfFolderMoves", "15.10", [] { return altered({.before = leakMemory}); }},
    {"SetsATimer", "15.11", [] { return altered({.before = setTimer}); }},
    {"LimitsDescriptors", "15.12", [] { return altered({.before = limitDescriptors}); }},
    {"ClosesStandardInput", "15.13", [] { return altered({.before = closeInput}); }},
    {"MoveBelowItselfLoses", "11.16", [] { return altered({.moveFolder = loseByMovingBelowItself}); }},
    {"AliasNotResolvedByMoves", "4.15",
     [] {
         return altered({.moveFile = [](const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                                        const Policy& policy) {
             sound.doMoveFile(from, StorageIRI(to.getPath()), policy);
         }});
     }},
}};

} // namespace
} // namespace foreign_faults

std::span<const Fault> foreign() {
    return foreign_faults::table;
}

} // namespace faults
