#pragma once

namespace storage::benchmark {

/// What the plug-in is compared with in a row.
enum class Rivals {
    Peers,
    Floor ///< where peers do less than the contract of the plug-in demands
};

} // namespace storage::benchmark
