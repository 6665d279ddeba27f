#include "host/validate/kit/TreeDescription.h"

#include "host/support/Utf.h"
#include "host/validate/kit/StreamSteps.h"
#include "hostapi/storage/provider/RequireNonNull.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>
#include <sstream>
#include <utility>
#include <vector>

namespace storage::host {

using namespace provider;

namespace {

class Describer {
public:
    Describer(const IProvider& provider, TimesShown times) : provider_(provider), times_(times) {}

    void addFolder(const StorageIRI& folder) {
        const FolderAttributes attributes = provider_.doGetFolderAttributes(folder);
        addLine(folder, "folder", attributes.isWritable(), attributes.getLastModified());
        const auto listing = requireNonNull(provider_.doListAll(folder), "listing");
        while (listing->hasNext()) {
            listing->step();
            const FolderEntry entry = listing->getEntry();
            const StorageIRI location(folder.getPath() + u"/" + entry.getName());
            entry.getType() == FolderEntry::EntryType::Folder ? addFolder(location) : addFile(location);
        }
    }

    std::string text() {
        std::sort(lines_.begin(), lines_.end());
        return fmt::format("{}", fmt::join(lines_, "\n"));
    }

private:
    void addFile(const StorageIRI& file) {
        const FileAttributes attributes = provider_.doGetFileAttributes(file);
        addLine(file, fmt::format("file of {} bytes", attributes.getSize()), attributes.isWritable(),
                attributes.getLastModified());
        lines_.back() += printable(contentOf(provider_, file));
    }

    void addLine(const StorageIRI& iri, std::string_view kind, bool writable,
                 const boost::posix_time::ptime& time) {
        static const boost::posix_time::ptime epoch(boost::gregorian::date(1970, 1, 1));
        lines_.push_back(fmt::format("{} is a {} {} ", printable(iri.getPath()),
                                     writable ? "writable" : "read-only", kind));
        if (times_ == TimesShown::All) {
            lines_.back() += fmt::format("of {} us ", (time - epoch).total_microseconds());
        }
    }

    const IProvider& provider_;
    TimesShown times_;
    std::vector<std::string> lines_;
};

} // namespace

std::string describeTree(const IProvider& provider, const StorageIRI& folder, TimesShown times) {
    Describer describer(provider, times);
    describer.addFolder(folder);
    return describer.text();
}

std::string treeDifference(const std::string& before, const std::string& after) {
    const auto linesOf = [](const std::string& text) {
        std::vector<std::string> lines;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) {
            lines.push_back(line);
        }
        return lines; // sorted by describeTree()
    };
    const std::vector<std::string> first = linesOf(before);
    const std::vector<std::string> second = linesOf(after);
    std::vector<std::string> only;
    std::string difference;
    const auto add = [&](const char* mark) {
        for (const std::string& line : std::exchange(only, {})) {
            difference.append("\n").append(mark).append(line);
        }
    };
    std::set_difference(first.begin(), first.end(), second.begin(), second.end(), std::back_inserter(only));
    add("- ");
    std::set_difference(second.begin(), second.end(), first.begin(), first.end(), std::back_inserter(only));
    add("+ ");
    return difference;
}

} // namespace storage::host
