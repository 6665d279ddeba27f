#pragma once

namespace storage::host {

/// Whether the root folder of a transferred tree gets the attributes of its source.
enum class RootAttributes {
    FromSource,
    Untouched, ///< the folder existed before and only gets new content
};

} // namespace storage::host
