#include "benchmarks/mount/MountRows.h"

namespace storage::benchmark {

const std::vector<RowKind>& mountRowKinds() {
    static const std::vector<RowKind> kinds{
        {"sequential write, 1 MiB blocks", "MB/s", Better::Higher, 0, Rivals::Peers, 1.3},
        {"sequential read, 1 MiB, cold", "MB/s", Better::Higher, 0, Rivals::Peers, 2},
        {"sequential read, 1 MiB, once more", "MB/s", Better::Higher, 0, Rivals::Peers, 2},
        {"sequential write, 4 KiB", "MB/s", Better::Higher, 0, Rivals::Peers, 3},
        {"random read, 4 KiB, cold", "thousand/s", Better::Higher, 1, Rivals::Peers, 3},
        {"random read, 4 KiB, once more", "thousand/s", Better::Higher, 1, Rivals::Peers, 3},
        {"random write, 4 KiB", "thousand/s", Better::Higher, 1, Rivals::Peers, 3},
        {"create files of 4 KiB", "thousand/s", Better::Higher, 1, Rivals::Peers, 1.5},
        {"unlink", "thousand/s", Better::Higher, 1, Rivals::Peers, 1.5},
        {"stat", "thousand/s", Better::Higher, 1, Rivals::Peers, 3},
        {"readdir, entries", "thousand/s", Better::Higher, 1, Rivals::Peers, 5},
        {"readdir with stat, entries", "thousand/s", Better::Higher, 1, Rivals::Peers, 5},
        {"rename", "thousand/s", Better::Higher, 1, Rivals::Peers, 1.5},
        {"git clone", "s", Better::Lower, 3, Rivals::Peers, 1.5},
        {"git status", "s", Better::Lower, 3, Rivals::Peers, 1.5},
        {"tar x", "s", Better::Lower, 3, Rivals::Peers, 1.5},
        {"rm -rf", "s", Better::Lower, 3, Rivals::Peers, 1.5},
    };
    return kinds;
}

} // namespace storage::benchmark
