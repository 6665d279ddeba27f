#pragma once

#include "tests/model/ReferenceModel.h"

#include <cstdint>
#include <string>

namespace storage::inmemoryprovider::tests {

/// How a step comes to its path. Resolved only when the step runs, against what the tree holds then, so that
/// random sequences keep hitting what is there.
struct PathChoice {
    enum class From : std::uint8_t {
        Pool,     ///< a fixed set of texts that collide often, weird ones among them
        Folder,   ///< a folder that is there
        File,     ///< a file that is there
        InFolder, ///< a name in a folder that is there
        Text,     ///< a text of its own
    };

    From from = From::Pool;
    std::uint8_t pick = 0; ///< which one of them, modulo their number
    std::uint8_t name = 0; ///< InFolder: which name
    std::u16string text;   ///< Text: the text
};

/// The text of the path, as a caller would write it.
std::u16string resolve(const PathChoice& choice, const ReferenceModel& model);

} // namespace storage::inmemoryprovider::tests
