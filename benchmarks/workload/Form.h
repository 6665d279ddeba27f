#pragma once

namespace storage::benchmark {

/// The amount of work.
enum class Form {
    Full,
    Short ///< small sizes, as a test
};

} // namespace storage::benchmark
