#pragma once

namespace storage::host {

/// Whether the folder at the top of a transferred tree gets its source's time and writable flag.
enum class TopAttributes {
    FromSource,
    Untouched, ///< the folder was there already and is only filled, so it stays what it was
};

} // namespace storage::host
