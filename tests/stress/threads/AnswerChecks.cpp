#include "tests/stress/threads/AnswerChecks.h"

#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/WildcardPattern.h"
#include "tests/stress/Violation.h"
#include "tests/stress/threads/PathUniverse.h"
#include "tests/support/Record.h"

#include <algorithm>
#include <functional>
#include <set>
#include <string_view>

namespace storage::stress {

using boost::posix_time::ptime;
using provider::FolderEntry;
using provider::WildcardPattern;

namespace {

std::u16string_view lastName(std::u16string_view path) {
    return path.substr(path.rfind(u'/') + 1);
}

/// Assumes that the clock is not set back by a day during the test.
ptime earliestClockTime() {
    static const ptime earliest =
        boost::posix_time::microsec_clock::universal_time() - boost::posix_time::hours(24);
    return earliest;
}

void checkOrder(const std::u16string& folder, const Names& names) {
    const auto unordered = std::adjacent_find(names.begin(), names.end(), std::greater_equal<>());
    requireThat(unordered == names.end(), "a listing of " + shown(folder) + " is not in order");
}

void checkNesting(const std::u16string& folder, const Names& names, const std::u16string& pattern) {
    std::set<std::u16string_view> met;
    for (const std::u16string_view name : names) {
        requireThat(met.insert(name).second,
                    "a listing of " + shown(folder) + " has " + shown(name) + " twice");
        const auto separator = name.rfind(u'/');
        requireThat(separator == std::u16string_view::npos || pattern != u"*" ||
                        met.contains(name.substr(0, separator)),
                    "a listing of " + shown(folder) + " has " + shown(name) + " before its folder");
    }
}

} // namespace

void checkNames(const std::u16string& folder, const ListingShape& shape, const Names& names) {
    const WildcardPattern pattern(shape.pattern);
    for (const auto& name : names) {
        requireThat(isPossible(joined(folder, name)) && pattern.matches(lastName(name)),
                    "a listing of " + shown(folder) + " has the unexpected name " + shown(name));
    }
    if (shape.depth == ListingShape::Depth::OneFolder) {
        checkOrder(folder, names);
    } else {
        checkNesting(folder, names, shape.pattern);
    }
}

void checkEntries(const std::u16string& folder, const ListingShape& shape, const Entries& entries) {
    Names names;
    for (const FolderEntry& entry : entries) {
        const bool isFile = entry.getType() == FolderEntry::EntryType::File;
        requireThat(shape.kinds != (isFile ? ListingShape::Kinds::Folders : ListingShape::Kinds::Files),
                    "a listing of one kind has an entry of the other: " + shown(entry.getName()));
        requireThat(isFile || !isTemporary(entry.getName()), "a folder has the name of a temporary file");
        names.push_back(entry.getName());
    }
    checkNames(folder, shape, names);
}

void checkSize(unsigned long long size) {
    requireThat(size % tests::Record::size == 0,
                "the size of a file is not a multiple of the record size: " + std::to_string(size));
}

void checkTime(const ptime& time) {
    requireThat(!time.is_special(), "an entry has no time");
    requireThat(time == recognisableTime(time.date().year()) || time >= earliestClockTime(),
                "an entry has a time that was never set");
}

ptime recognisableTime(unsigned year) {
    return ptime(boost::gregorian::date(static_cast<unsigned short>(year), 3, 4),
                 boost::posix_time::microseconds(year));
}

} // namespace storage::stress
