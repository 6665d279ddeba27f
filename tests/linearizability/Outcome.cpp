#include "tests/linearizability/Outcome.h"

#include "tests/model/ShownText.h"

#include <boost/date_time/posix_time/posix_time_io.hpp>

#include <sstream>

namespace storage::inmemoryprovider::tests {

std::string shown(const Outcome& outcome) {
    std::ostringstream text;
    if (!outcome.ending.succeeded()) {
        text << "code " << static_cast<int>(*outcome.ending.code) << " naming "
             << shown(outcome.ending.named);
        return text.str();
    }
    text << std::boolalpha << "ok, exists " << outcome.exists << ", listing {";
    for (const auto& entry : outcome.listing) {
        text << ' ' << shown(entry.getName());
    }
    text << " }, bytes \"" << outcome.bytes << "\", attributes " << outcome.size << ' '
         << outcome.lastModified << ' ' << outcome.writable;
    return text.str();
}

} // namespace storage::inmemoryprovider::tests
