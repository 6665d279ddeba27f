#include "tests/linearizability/History.h"

#include "tests/model/ShownText.h"

#include <boost/date_time/posix_time/posix_time_io.hpp>

#include <sstream>

namespace storage::inmemoryprovider::tests {

std::string shown(const History& history) {
    std::ostringstream text;
    for (const auto& call : history.preparation) {
        text << "  before: " << shown(call) << '\n';
    }
    for (const auto& recorded : history.calls) {
        text << "  thread " << recorded.thread << " [" << recorded.begin << ", " << recorded.end
             << "]: " << shown(recorded.call) << ": " << shown(recorded.outcome) << '\n';
    }
    for (const auto& [path, entry] : history.tree) {
        text << std::boolalpha << "  at the end: " << shown(path) << (entry.folder ? " folder" : " file")
             << " \"" << entry.bytes << "\" " << entry.lastModified << ' ' << entry.writable << '\n';
    }
    return text.str();
}

} // namespace storage::inmemoryprovider::tests
