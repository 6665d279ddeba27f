#pragma once

#include <optional>

namespace storage::benchmark {

/// The use of the processors during a repetition. A value.
struct Load {
    double seconds = 0;                       ///< wall time of the repetition's process
    double processorSeconds = 0;              ///< processor time of the repetition's process and its children
    double othersSeconds = 0;                 ///< processor time of other processes
    double stolenSeconds = 0;                 ///< steal time of the hypervisor
    std::optional<double> serverSeconds = {}; ///< processor time of the server, if there is one

    /// Whether other load may have affected the measurements.
    bool isDisturbed() const;
};

} // namespace storage::benchmark
