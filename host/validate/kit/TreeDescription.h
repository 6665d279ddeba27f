#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <string>

namespace storage::host {

/// Which times a description contains. The time of a folder changes even if an entry is only added and
/// removed again.
enum class TimesTold { All, None };

/// Describes a folder and everything below it: paths, kinds, writable flags, times and bytes. One line per
/// entry, sorted by path. Two descriptions are equal if and only if a host can see no difference.
std::string describeTree(const provider::IProvider& provider, const provider::StorageIRI& folder,
                         TimesTold times = TimesTold::All);

/// The lines that only one of two descriptions contains: "- " marks lines of the first one, "+ " lines of the
/// second one.
std::string treeDifference(const std::string& before, const std::string& after);

} // namespace storage::host
