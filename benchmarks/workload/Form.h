#pragma once

namespace storage::benchmark {

/// How much is done.
enum class Form {
    Full,
    Short ///< small sizes, to see that all works
};

} // namespace storage::benchmark
