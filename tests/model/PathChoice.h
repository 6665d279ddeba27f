#pragma once

#include "tests/model/ReferenceModel.h"

#include <cstdint>
#include <string>

namespace storage::inmemoryprovider::tests {

/// The choice of a path for a step. It is resolved against the tree when the step runs, so that random
/// sequences often refer to existing entries.
struct PathChoice {
    enum class From : std::uint8_t {
        Pool,     ///< a fixed set of texts that often collide, some of them unusual
        Folder,   ///< an existing folder
        File,     ///< an existing file
        InFolder, ///< a name in an existing folder
        Text,     ///< an arbitrary text
    };

    From from = From::Pool;
    std::uint8_t pick = 0; ///< selects one of them, modulo their number
    std::uint8_t name = 0; ///< InFolder: which name
    std::u16string text;   ///< Text: the text
};

/// The text of the path as passed to the provider.
std::u16string resolve(const PathChoice& choice, const ReferenceModel& model);

} // namespace storage::inmemoryprovider::tests
