#include "benchmarks/report/RowKind.h"

namespace storage::benchmark {

const std::vector<RowKind>& rowKinds() {
    static const std::vector<RowKind> kinds{
        {"create", "ns", Better::Lower, 0, Rivals::Peers},
        {"attributes", "ns", Better::Lower, 0, Rivals::Peers},
        {"missing", "ns", Better::Lower, 0, Rivals::Peers},
        {"create, write, release", "ns", Better::Lower, 0, Rivals::Peers},
        {"open, read, release", "ns", Better::Lower, 0, Rivals::Peers},
        {"open, overwrite, release", "ns", Better::Lower, 0, Rivals::Peers},
        {"append", "ns", Better::Lower, 1, Rivals::Peers},
        {"write", "GB/s", Better::Higher, 2, Rivals::Peers},
        {"overwrite", "GB/s", Better::Higher, 1, Rivals::Peers},
        {"read", "GB/s", Better::Higher, 1, Rivals::Peers},
        {"random read", "ns", Better::Lower, 0, Rivals::Peers},
        {"list", "ns per entry", Better::Lower, 1, Rivals::Peers},
        {"move file inside", "ns", Better::Lower, 0, Rivals::Peers},
        {"move file between", "ns", Better::Lower, 0, Rivals::Peers},
        // The contract requires new nodes for all moved entries. Peers keep the nodes when they move a
        // folder.
        {"move folder", "ns per descendant", Better::Lower, 1, Rivals::Floor},
        {"remove in order", "ns", Better::Lower, 0, Rivals::Peers},
        {"remove at random", "ns", Better::Lower, 0, Rivals::Peers},
        {"two threads in the tree, total", "M/s", Better::Higher, 2, Rivals::Peers},
        {"two threads in the tree, gain", "", Better::Higher, 2, Rivals::Peers},
        {"two threads reading, total", "M/s", Better::Higher, 2, Rivals::Peers},
        {"two threads reading, gain", "", Better::Higher, 2, Rivals::Peers},
        {"memory", "bytes per file", Better::Lower, 0, Rivals::Peers},
    };
    return kinds;
}

} // namespace storage::benchmark
