#pragma once

#include "hostapi/storage/provider/FolderEntry.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/stress/threads/ListingShape.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <string>
#include <vector>

namespace storage::stress {

// Requirements that hold for every result, independent of other threads. Each function throws Violation.

using Names = std::vector<std::u16string>;
using Entries = std::vector<provider::FolderEntry>;

/// Checks the names of a listing: each matches the pattern, can be created by the test, and occurs once.
/// Names of one folder are in order. In a complete recursive listing each folder precedes its entries.
void checkNames(const std::u16string& folder, const ListingShape& shape, const Names& names);

/// Like checkNames. Also checks that only the requested kinds are listed.
void checkEntries(const std::u16string& folder, const ListingShape& shape, const Entries& entries);

/// Checks that the size is a whole number of records.
void checkSize(unsigned long long size);

/// Checks that the time is one that the test sets, or is no earlier than a day before the test.
void checkTime(const boost::posix_time::ptime& time);

/// The times that the test sets, one per year.
boost::posix_time::ptime recognisableTime(unsigned year);

} // namespace storage::stress
