#pragma once

#include <string>

namespace storage::stress {

/// What a listing was asked for, and so what it may yield.
struct ListingShape {
    enum class Kinds { All, Files, Folders };
    enum class Depth { OneFolder, Recursive };

    Kinds kinds = Kinds::All;
    Depth depth = Depth::OneFolder;
    std::u16string pattern = u"*";
};

} // namespace storage::stress
