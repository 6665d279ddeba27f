#pragma once

#include "hostapi/storage/provider/FolderEntry.h"
#include "tests/stress/threads/ListingShape.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <string>
#include <vector>

namespace storage::stress {

// What may be asked of any answer, whatever the other threads do meanwhile. Each throws Fault.

using Names = std::vector<std::u16string>;
using Entries = std::vector<foundation::storage::provider::FolderEntry>;

/// Only names that the storm can bring about and that were asked for, none twice; those of one folder in order, and
/// each folder of a whole recursive listing before what it holds.
void checkNames(const std::u16string& folder, const ListingShape& shape, const Names& names);

/// As checkNames, and only the kinds that were asked for.
void checkEntries(const std::u16string& folder, const ListingShape& shape, const Entries& entries);

/// A file's size is a number of whole records.
void checkSize(unsigned long long size);

/// The time of an entry is one that the storm gave it, or one of the clock's since the storm began.
void checkTime(const boost::posix_time::ptime& time);

/// The times that the storm gives, one a year.
boost::posix_time::ptime stormTime(unsigned year);

} // namespace storage::stress
