#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <string>

namespace storage::host {

/// Whether a description contains times. If an entry is added to a folder and removed again, only the time of
/// the folder differs.
enum class TimesShown { All, None };

/// Describes a folder and everything below it: paths, kinds, writable flags, times and bytes. One line per
/// entry, sorted by path. Two descriptions with all times are equal if and only if a host can see no
/// difference.
std::string describeTree(const provider::IProvider& provider, const provider::StorageIRI& folder,
                         TimesShown times = TimesShown::All);

/// The lines that only one of two descriptions contains: "- " marks lines of the first one, "+ " lines of the
/// second one.
std::string treeDifference(const std::string& before, const std::string& after);

} // namespace storage::host
