#pragma once

#include <string>

namespace storage::stress {

/// The parameters of a listing, which determine its possible results.
struct ListingShape {
    enum class Kinds { All, Files, Folders };
    enum class Depth { OneFolder, Recursive };

    Kinds kinds = Kinds::All;
    Depth depth = Depth::OneFolder;
    std::u16string pattern = u"*";
};

} // namespace storage::stress
