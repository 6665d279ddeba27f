#pragma once

namespace storage::benchmark {

/// Which values of a row are the better ones.
enum class Better { Lower, Higher };

} // namespace storage::benchmark
