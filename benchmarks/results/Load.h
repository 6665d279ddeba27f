#pragma once

#include <optional>

namespace storage::benchmark {

/// Who used the processors while a repetition ran. A value.
struct Load {
    double seconds = 0;                       ///< that the repetition's process lived
    double processorSeconds = 0;              ///< that it computed, with its children
    double othersSeconds = 0;                 ///< that other processes computed meanwhile
    double stolenSeconds = 0;                 ///< that the machine below this one took away meanwhile
    std::optional<double> serverSeconds = {}; ///< that the server it waited for computed, if it had one

    /// Whether something else on the machine may show in the figures.
    bool isDisturbed() const;
};

} // namespace storage::benchmark
