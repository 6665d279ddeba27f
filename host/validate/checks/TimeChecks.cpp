#include "host/support/FileTime.h"
#include "host/validate/checks/CheckCatalogue.h"
#include "host/validate/checks/EntryKind.h"
#include "host/validate/kit/CheckContext.h"
#include "host/validate/kit/Expectations.h"
#include "host/validate/kit/StreamSteps.h"
#include "host/validate/kit/Times.h"
#include "host/validate/kit/TreeDescription.h"
#include "host/validate/kit/WriteProtection.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <array>
#include <exception>
#include <fmt/format.h>
#include <functional>
#include <span>
#include <utility>

namespace storage::host::checks {

using namespace provider;
using boost::posix_time::ptime;
using boost::posix_time::time_duration;

namespace time_checks {
namespace {

// A storage may round times, and the clock of another machine may be wrong. The tolerances are too small to
// accept local time instead of UTC.
const time_duration coarseness = boost::posix_time::seconds(2);
const time_duration clockError = boost::posix_time::minutes(10);

void expectNear(const ptime& seen, const ptime& expected, const time_duration& tolerance,
                std::string_view what) {
    expect(!seen.is_special() && seen >= expected - tolerance && seen <= expected + tolerance,
           fmt::format("{} is {}, not {}", what, formatMicroseconds(seen), formatMicroseconds(expected)));
}

/// Runs an action, and expects that it sets the time of an entry to a moment of its run.
void expectStamped(const std::function<void()>& action, const std::function<ptime()>& stamp,
                   std::string_view what) {
    const ptime before = utcNow();
    action();
    const ptime after = utcNow();
    const ptime seen = stamp();
    expect(seen >= before && seen <= after,
           fmt::format("{} is {}, not between {} and {}", what, formatMicroseconds(seen),
                       formatMicroseconds(before), formatMicroseconds(after)));
}

template <const EntryKind& kind>
void newEntryIsStamped(CheckContext& context) {
    const StorageIRI entry = context.at(u"e");
    (context.provider().*kind.create)(entry);
    expectNear(kind.lastModified(context.provider(), entry), utcNow(), clockError,
               fmt::format("the time of a new {}", kind.name));
}

template <const EntryKind& kind>
void newEntryIsStampedExactly(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI entry = context.at(u"e");
    expectStamped([&] { (provider.*kind.create)(entry); }, [&] { return kind.lastModified(provider, entry); },
                  fmt::format("the time of a new {}", kind.name));
}

template <const EntryKind& kind>
void newEntryStampsFolder(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doSetLastModified(context.at(u""), pastTime());
    (provider.*kind.create)(context.at(u"e"));
    expect(folderKind.lastModified(provider, context.at(u"")) ==
               kind.lastModified(provider, context.at(u"e")),
           fmt::format("a new {} and the folder that it is in have different times", kind.name));
}

template <const EntryKind& kind>
void removingStampsFolder(CheckContext& context) {
    const IProvider& provider = context.provider();
    (provider.*kind.create)(context.at(u"e"));
    provider.doSetLastModified(context.at(u""), pastTime());
    expectStamped([&] { (provider.*kind.remove)(context.at(u"e")); },
                  [&] { return folderKind.lastModified(provider, context.at(u"")); },
                  fmt::format("the time of a folder that a {} was removed from", kind.name));
}

/// The grandparent folder and the siblings must keep their times.
void othersAreNotStamped(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"d"));
    provider.doCreateFile(context.at(u"d/neighbour"));
    provider.doSetLastModified(context.at(u"d/neighbour"), pastTime());
    provider.doSetLastModified(context.at(u""), pastTime());
    for (const EntryKind* kind : {&fileKind, &folderKind}) {
        (provider.*kind->create)(context.at(u"d/e"));
        (provider.*kind->remove)(context.at(u"d/e"));
        expect(folderKind.lastModified(provider, context.at(u"")) == pastTime(),
               fmt::format("creating and removing a {} stamps more than its own folder", kind->name));
        expect(fileKind.lastModified(provider, context.at(u"d/neighbour")) == pastTime(),
               fmt::format("creating and removing a {} stamps its siblings", kind->name));
    }
}

template <const EntryKind& kind>
void timeIsReadBack(CheckContext& context) {
    const StorageIRI entry = context.at(u"e");
    (context.provider().*kind.create)(entry);
    context.provider().doSetLastModified(entry, pastTime());
    expectNear(kind.lastModified(context.provider(), entry), pastTime(), coarseness,
               fmt::format("the time of a {} that was set", kind.name));
}

template <const EntryKind& kind>
void timeIsReadBackExactly(CheckContext& context) {
    using boost::gregorian::date;
    using boost::posix_time::microseconds;
    const IProvider& provider = context.provider();
    const StorageIRI entry = context.at(u"e");
    (provider.*kind.create)(entry);
    for (const ptime& time :
         {ptime(date(2024, 2, 29), microseconds(123'456)), ptime(date(1969, 12, 31), microseconds(1)),
          ptime(boost::posix_time::min_date_time), ptime(boost::posix_time::max_date_time),
          ptime(boost::posix_time::pos_infin)}) {
        provider.doSetLastModified(entry, time);
        const ptime seen = kind.lastModified(provider, entry);
        expect(seen == time, fmt::format("the time of a {} was set to {} and is {}", kind.name,
                                         formatMicroseconds(time), formatMicroseconds(seen)));
    }
}

void timeGoesBack(CheckContext& context) {
    const IProvider& provider = context.provider();
    for (const EntryKind* kind : {&fileKind, &folderKind}) {
        const StorageIRI entry = context.at(u"e");
        (provider.*kind->create)(entry);
        for (const int days : {1, -1}) {
            const ptime time = pastTime() + boost::gregorian::days(days);
            provider.doSetLastModified(entry, time);
            expectNear(kind->lastModified(provider, entry), time, coarseness,
                       fmt::format("the time of a {} that was set forward and back", kind->name));
        }
        (provider.*kind->remove)(entry);
    }
}

void timeOfEachEntry(CheckContext& context) {
    const IProvider& provider = context.provider();
    const std::array kinds{&fileKind, &folderKind, &fileKind, &folderKind};
    const auto entry = [&](std::size_t i) { return context.at(std::u16string(i + 1, u'e')); };
    const auto time = [](std::size_t i) {
        return pastTime() + boost::posix_time::hours(static_cast<long>(i));
    };
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        (provider.*kinds[i]->create)(entry(i));
        provider.doSetLastModified(entry(i), time(i));
    }
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        expectNear(kinds[i]->lastModified(provider, entry(i)), time(i), coarseness,
                   fmt::format("the time of a {}, set before those of its neighbours,", kinds[i]->name));
    }
}

void timeOfMissing(CheckContext& context) {
    makeFile(context.provider(), context.at(u"f"), "");
    for (const char16_t* path : {u"missing", u"missing/e", u"f/e"}) {
        const StorageIRI entry = context.at(path);
        expectRefusal(
            context, [&] { context.provider().doSetLastModified(entry, pastTime()); }, ErrorCode::NotFound,
            entry, "setting the time of a missing entry");
    }
}

void settingTimeChangesNothingElse(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"d"));
    makeFile(provider, context.at(u"d/f"), "bytes");
    for (const char16_t* path : {u"d/f", u"d"}) {
        provider.doSetLastModified(context.at(path), pastTime());
    }
    const std::string before = describeTree(provider, context.at(u""));
    for (const char16_t* path : {u"d/f", u"d"}) {
        provider.doSetLastModified(context.at(path), pastTime() + boost::posix_time::hours(1));
        provider.doSetLastModified(context.at(path), pastTime());
    }
    const std::string after = describeTree(provider, context.at(u""));
    expect(after == before, fmt::format("setting times and setting them back changes something else:{}",
                                        treeDifference(before, after)));
}

void timeOfRoot(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI ownFolder = context.at(u"");
    provider.doSetLastModified(StorageIRI(u"/"), pastTime());
    expect(folderKind.lastModified(provider, StorageIRI(u"/")) == pastTime(),
           "the root has another time than was set");
    expect(folderKind.lastModified(provider, ownFolder) != pastTime(),
           "setting the root's time changes that of a folder in it");
    provider.doSetLastModified(StorageIRI(u"/any", u"/any", false), pastTime() + boost::posix_time::hours(1));
    expect(folderKind.lastModified(provider, StorageIRI(u"/")) == pastTime() + boost::posix_time::hours(1),
           "the root has another time than was set for a location without a parent");
}

template <const EntryKind& kind>
void readOnlyTakesTime(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI entry = context.at(u"e");
    (provider.*kind.create)(entry);
    const WriteProtection entryIsReadOnly(provider, entry);
    const WriteProtection folderIsReadOnly(provider, context.at(u""));
    provider.doSetLastModified(entry, pastTime());
    expect(kind.lastModified(provider, entry) == pastTime(),
           fmt::format("a read-only {} has another time than was set", kind.name));
}

void flagStampsNothing(CheckContext& context) {
    const IProvider& provider = context.provider();
    for (const EntryKind* kind : {&fileKind, &folderKind}) {
        const StorageIRI entry = context.at(u"e");
        (provider.*kind->create)(entry);
        provider.doSetLastModified(entry, pastTime());
        provider.doSetLastModified(context.at(u""), pastTime());
        provider.doSetWritable(entry, false);
        provider.doSetWritable(entry, true);
        expect(kind->lastModified(provider, entry) == pastTime() &&
                   folderKind.lastModified(provider, context.at(u"")) == pastTime(),
               fmt::format("setting the flag of a {} stamps it or its folder", kind->name));
        (provider.*kind->remove)(entry);
    }
}

ptime timeAt(int year, int month, int day, int hour, int minute, int second) {
    using namespace boost::posix_time;
    return {boost::gregorian::date(static_cast<unsigned short>(year), static_cast<unsigned short>(month),
                                   static_cast<unsigned short>(day)),
            hours(hour) + minutes(minute) + seconds(second)};
}

/// @param mayRefuse  whether the storage may throw any exception and keep the previous time
void expectKept(CheckContext& context, std::span<const ptime> times, bool mayRefuse) {
    const IProvider& provider = context.provider();
    for (const EntryKind* kind : {&fileKind, &folderKind}) {
        const StorageIRI entry = context.at(u"e");
        (provider.*kind->create)(entry);
        for (const ptime& time : times) {
            provider.doSetLastModified(entry, pastTime());
            ptime expected = time;
            try {
                provider.doSetLastModified(entry, time);
            } catch (const std::exception&) {
                expect(mayRefuse, fmt::format("the time {} is refused", formatMicroseconds(time)));
                expected = pastTime();
            }
            expectNear(
                kind->lastModified(provider, entry), expected, coarseness,
                fmt::format("the time of a {} that was set to {}", kind->name, formatMicroseconds(time)));
        }
        (provider.*kind->remove)(entry);
    }
}

/// Times from `first` on, before `end`.
std::vector<ptime> randomTimes(CheckContext& context, const ptime& first, const ptime& end) {
    std::vector<ptime> times(200, first);
    for (ptime& time : times) {
        time += boost::posix_time::seconds(static_cast<long>(
            context.random()() % static_cast<unsigned long>((end - first).total_seconds())));
    }
    return times;
}

void timesOfAnySeason(CheckContext& context) {
    const std::array times{
        timeAt(2011, 11, 11, 11, 11, 11), timeAt(2019, 3, 31, 1, 59, 59),  timeAt(2019, 3, 31, 2, 30, 1),
        timeAt(2021, 3, 14, 2, 30, 0),    timeAt(2021, 7, 15, 13, 37, 43), timeAt(2022, 1, 15, 0, 1, 1),
        timeAt(2021, 10, 31, 1, 30, 0),   timeAt(2021, 11, 7, 1, 30, 0),   timeAt(2000, 2, 29, 23, 59, 59),
        timeAt(2024, 2, 29, 12, 34, 57),  timeAt(2024, 3, 1, 0, 0, 1),     timeAt(2023, 12, 31, 23, 59, 59),
        timeAt(1999, 12, 31, 23, 59, 59), timeAt(1984, 6, 30, 5, 6, 7),    timeAt(2037, 9, 9, 9, 9, 9),
        timeAt(2015, 5, 5, 0, 0, 0),      timeAt(2016, 6, 6, 12, 0, 0),    timeAt(2017, 7, 7, 23, 0, 59)};
    expectKept(context, times, /*mayRefuse*/ false);
    expectKept(context, randomTimes(context, timeAt(1980, 1, 1, 0, 0, 0), timeAt(2037, 12, 31, 0, 0, 0)),
               /*mayRefuse*/ false);
    std::vector<ptime> nights; // of a year: daylight saving time begins and ends at night
    for (ptime night = timeAt(2025, 1, 1, 2, 30, 1); night < timeAt(2026, 1, 1, 0, 0, 0);) {
        nights.push_back(night);
        nights.push_back(night + boost::posix_time::hours(static_cast<long>(nights.size() / 2 % 24)));
        night += boost::posix_time::hours(24);
    }
    expectKept(context, nights, /*mayRefuse*/ false);
    const ptime now = utcNow();
    using namespace boost::posix_time;
    const std::array nearNow{now - hours(24),   now - hours(1),   now - minutes(1), now - seconds(10),
                             now + seconds(10), now + minutes(5), now + hours(2),   now + hours(24)};
    expectKept(context, nearNow, /*mayRefuse*/ false);
}

void timesFarOff(CheckContext& context) {
    const std::array times{
        timeAt(1970, 1, 2, 3, 4, 5),      timeAt(1969, 12, 31, 23, 59, 59), timeAt(1950, 6, 1, 2, 3, 5),
        timeAt(1901, 12, 13, 20, 45, 51), timeAt(2038, 1, 19, 3, 14, 9),    timeAt(2099, 2, 28, 22, 21, 21),
        timeAt(2106, 2, 7, 6, 28, 17),    timeAt(2200, 7, 7, 7, 7, 7),      timeAt(1970, 1, 1, 0, 0, 0),
        timeAt(1979, 12, 31, 23, 59, 59), timeAt(1400, 1, 1, 0, 0, 0),      timeAt(9999, 12, 31, 23, 59, 59)};
    expectKept(context, times, /*mayRefuse*/ true);
    expectKept(context, randomTimes(context, times[10], times[11]), /*mayRefuse*/ true);
}

void clockIsOfThisMachine(CheckContext& context) {
    const IProvider& provider = context.provider();
    const std::array<std::pair<const EntryKind*, std::function<void(const StorageIRI&)>>, 3> creations{{
        {&fileKind, [&](const StorageIRI& iri) { provider.doCreateFile(iri); }},
        {&folderKind, [&](const StorageIRI& iri) { provider.doCreateFolder(iri); }},
        {&fileKind, [&](const StorageIRI& iri) { openStream(provider, iri); }},
    }};
    std::u16string name = u"e";
    for (const auto& [kind, create] : creations) {
        name += u'e';
        const ptime before = utcNow();
        create(context.at(name));
        const ptime after = utcNow();
        const ptime seen = kind->lastModified(provider, context.at(name));
        expect(!seen.is_special() && seen >= before - coarseness && seen <= after + coarseness,
               fmt::format("a new {} has the time {}, more than 2 seconds from {}", kind->name,
                           formatMicroseconds(seen), formatMicroseconds(before)));
    }
}

void timeLeavesFlagAndBytes(CheckContext& context) {
    const IProvider& provider = context.provider();
    makeFile(provider, context.at(u"f"), "bytes");
    provider.doCreateFolder(context.at(u"d"));
    for (const auto& [kind, iri] :
         {std::pair(&fileKind, context.at(u"f")), std::pair(&folderKind, context.at(u"d"))}) {
        for (const bool writable : {true, false, true}) {
            provider.doSetWritable(iri, writable);
            try {
                provider.doSetLastModified(iri, pastTime());
            } catch (const Exception& refusal) {
                expect(!writable && refusal.getErrorCode() == ErrorCode::ReadOnly,
                       fmt::format("setting the time of a {} fails with \"{}\"", kind->name, refusal.what()));
            }
            expect(kind->isWritable(provider, iri) == writable,
                   fmt::format("setting the time of a {} changes its flag", kind->name));
        }
    }
    expect(contentOf(provider, context.at(u"f")) == "bytes", "setting the time of a file changes its bytes");
}

void noDateIsNoOtherDate(CheckContext& context) {
    const IProvider& provider = context.provider();
    for (const EntryKind* kind : {&fileKind, &folderKind}) {
        const StorageIRI entry = context.at(u"e");
        (provider.*kind->create)(entry);
        for (const auto noDate : {boost::posix_time::not_a_date_time, boost::posix_time::pos_infin,
                                  boost::posix_time::neg_infin}) {
            provider.doSetLastModified(entry, pastTime());
            bool refused = false;
            try {
                provider.doSetLastModified(entry, ptime(noDate));
            } catch (const std::exception&) {
                refused = true;
            }
            const ptime seen = kind->lastModified(provider, entry);
            expect(refused ? !seen.is_special() && (seen - pastTime()).abs() <= coarseness
                           : seen.is_special(),
                   fmt::format("after its time was set to no date, a {} has the time {}", kind->name,
                               formatMicroseconds(seen)));
        }
        (provider.*kind->remove)(entry);
    }
}

constexpr auto any = Profile::AnyProvider;
constexpr auto inMemory = Profile::InMemoryProvider;

constexpr std::array table{
    Check{"5.1", "times.new-file", "A new file has the current time in UTC, to within 10 minutes.", any,
          newEntryIsStamped<fileKind>},
    Check{"5.2", "times.new-folder", "A new folder has the current time in UTC, to within 10 minutes.", any,
          newEntryIsStamped<folderKind>},
    Check{"5.3", "times.new-file-exactly", "A new file has the time of its creation, to the microsecond.",
          inMemory, newEntryIsStampedExactly<fileKind>},
    Check{"5.4", "times.new-folder-exactly", "A new folder has the time of its creation, to the microsecond.",
          inMemory, newEntryIsStampedExactly<folderKind>},
    Check{"5.5", "times.new-file-stamps-folder", "A new file and its folder get the same time.", inMemory,
          newEntryStampsFolder<fileKind>},
    Check{"5.6", "times.new-folder-stamps-folder", "A new folder and its parent folder get the same time.",
          inMemory, newEntryStampsFolder<folderKind>},
    Check{"5.7", "times.removed-file-stamps-folder", "Removing a file stamps its folder.", inMemory,
          removingStampsFolder<fileKind>},
    Check{"5.8", "times.removed-folder-stamps-folder", "Removing a folder stamps its parent folder.",
          inMemory, removingStampsFolder<folderKind>},
    Check{"5.9", "times.others-are-not-stamped",
          "Creating and removing stamp only the folder of the entry: no folder above it and no sibling.",
          inMemory, othersAreNotStamped},
    Check{"5.10", "times.file-time-is-kept",
          "The time that is set for a file is read back, to within 2 seconds.", any,
          timeIsReadBack<fileKind>},
    Check{"5.11", "times.folder-time-is-kept",
          "The time that is set for a folder is read back, to within 2 seconds.", any,
          timeIsReadBack<folderKind>},
    Check{"5.12", "times.file-time-is-exact",
          "Any time that is set for a file is read back, to the microsecond.", inMemory,
          timeIsReadBackExactly<fileKind>},
    Check{"5.13", "times.folder-time-is-exact",
          "Any time that is set for a folder is read back, to the microsecond.", inMemory,
          timeIsReadBackExactly<folderKind>},
    Check{"5.14", "times.may-go-back", "An entry's time can be set to an earlier one.", any, timeGoesBack},
    Check{"5.15", "times.own-for-each", "Each entry of a folder has its own time.", any, timeOfEachEntry},
    Check{"5.16", "times.missing",
          "Setting the time of a missing entry, or of one below a file, fails with NotFound.", any,
          timeOfMissing},
    Check{"5.17", "times.nothing-else", "Setting a time changes nothing else.", inMemory,
          settingTimeChangesNothingElse},
    Check{"5.18", "times.root", "The time of the root can be set.", inMemory, timeOfRoot},
    Check{"5.19", "times.read-only-file", "The time of a read-only file can be set.", inMemory,
          readOnlyTakesTime<fileKind>},
    Check{"5.20", "times.read-only-folder", "The time of a read-only folder can be set.", inMemory,
          readOnlyTakesTime<folderKind>},
    Check{"5.21", "times.flag-stamps-nothing", "Setting the writable flag stamps nothing.", inMemory,
          flagStampsNothing},
    Check{"5.22", "times.any-season",
          "Times in any season and at any time of day are kept, to within 2 seconds.", any, timesOfAnySeason},
    Check{"5.23", "times.far-off",
          "Times far in the past or future are kept, to within 2 seconds, or refused by an exception.", any,
          timesFarOff},
    Check{"5.24", "times.clock", "New entries have the time of this machine's clock, to within 2 seconds.",
          any, clockIsOfThisMachine},
    Check{"5.25", "times.no-date",
          "A time that is not a date is refused by an exception, or read back as not a date.", any,
          noDateIsNoOtherDate},
    Check{"5.26", "times.flag-and-bytes-stay",
          "Setting the time of an entry changes neither its writable flag nor its bytes.", any,
          timeLeavesFlagAndBytes},
};

} // namespace
} // namespace time_checks

std::span<const Check> times() {
    return time_checks::table;
}

} // namespace storage::host::checks
