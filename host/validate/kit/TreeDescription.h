#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <string>

namespace storage::host {

/// Which times a description tells. Those of folders change whenever an entry comes or goes, also for a moment.
enum class TimesTold { All, None };

/// A folder and everything in it: paths, kinds, writable flags, times and bytes, one line an entry, in the order of the
/// paths. Two descriptions are equal when nothing that a host can see differs.
std::string describeTree(const provider::IProvider& provider, const provider::StorageIRI& folder,
                         TimesTold times = TimesTold::All);

/// The lines in which two descriptions differ: "- " in front of those of the first alone, "+ " of the second alone.
std::string treeDifference(const std::string& before, const std::string& after);

} // namespace storage::host
