#pragma once

#include "tests/linearizability/Call.h"
#include "tests/linearizability/Outcome.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace storage::inmemoryprovider::tests {

/// A call of a thread. `begin` and `end` are sequence numbers common to all threads.
struct RecordedCall {
    std::size_t thread = 0;
    Call call = {};
    Outcome outcome = {};
    std::size_t begin = 0;
    std::size_t end = 0;
};

/// An entry of the final tree.
struct LeftEntry {
    bool folder = false;
    std::string bytes;
    boost::posix_time::ptime lastModified;
    bool writable = false;
};

/// The history of one round.
struct History {
    std::vector<Call> preparation; ///< sequential calls before the threads start
    std::vector<RecordedCall> calls;
    std::map<std::u16string, LeftEntry> tree; ///< by path, including the root
};

/// As text, with one line per call and entry.
std::string shown(const History& history);

} // namespace storage::inmemoryprovider::tests
