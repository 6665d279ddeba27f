#include "host/validate/kit/TreeDescription.h"

#include "host/support/Utf.h"
#include "hostapi/storage/provider/ListingRange.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/WholeFile.h"

#include <algorithm>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <fmt/format.h>
#include <iterator>
#include <vector>

namespace storage::host {

using namespace provider;

namespace {

using Lines = std::vector<std::string>;
using Time = boost::posix_time::ptime;

std::string lineOf(const StorageIRI& iri, std::string_view kind, bool writable, const Time& time,
                   TimesShown times) {
    static const Time epoch(boost::gregorian::date(1970, 1, 1));
    const std::string timeText = times == TimesShown::All ? fmt::format(", modified {} us after 1970",
                                                                        (time - epoch).total_microseconds())
                                                          : "";
    return fmt::format("{} is a {} {}{}", printable(iri.getPath()), writable ? "writable" : "read-only", kind,
                       timeText);
}

void describeFolder(const IProvider& provider, const StorageIRI& folder, TimesShown times, Lines& lines) {
    const FolderAttributes attributes = provider.doGetFolderAttributes(folder);
    lines.push_back(lineOf(folder, "folder", attributes.isWritable(), attributes.getLastModified(), times));
    for (const FolderEntry& entry : list(provider, folder)) {
        const StorageIRI location(folder.getPath() + u"/" + entry.getName());
        if (entry.getType() == FolderEntry::EntryType::Folder) {
            describeFolder(provider, location, times, lines);
            continue;
        }
        const FileAttributes file = provider.doGetFileAttributes(location);
        lines.push_back(lineOf(location, fmt::format("file of {} bytes", file.getSize()), file.isWritable(),
                               file.getLastModified(), times) +
                        ": " + printable(readFile(provider, location)));
    }
}

} // namespace

std::string describeTree(const IProvider& provider, const StorageIRI& folder, TimesShown times) {
    Lines lines;
    describeFolder(provider, folder, times, lines);
    std::sort(lines.begin(), lines.end());
    return fmt::format("{}", fmt::join(lines, "\n"));
}

std::string treeDifference(const std::string& before, const std::string& after) {
    std::string difference;
    const auto addMissing = [&](const char* mark, const std::string& from, const std::string& other) {
        Lines lines;
        Lines others;
        boost::split(lines, from, boost::is_any_of("\n"));
        boost::split(others, other, boost::is_any_of("\n"));
        Lines only;
        std::set_difference(lines.begin(), lines.end(), others.begin(), others.end(),
                            std::back_inserter(only));
        for (const std::string& line : only) {
            difference.append("\n").append(mark).append(line);
        }
    };
    addMissing("- ", before, after);
    addMissing("+ ", after, before);
    return difference;
}

} // namespace storage::host
