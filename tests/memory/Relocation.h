#pragma once

#include "tests/memory/TreeComparison.h"

#include "hostapi/storage/provider/IProvider.h"

#include <map>
#include <string>

namespace storage::tests {

/// Where a folder move takes each entry: the new path by the old one, for the moved folder and all below it.
using Relocation = std::map<std::u16string, std::u16string>;

Relocation relocate(const TreeSnapshot& tree, const std::u16string& source,
                    const std::u16string& destination);

/// Moves by hand what a folder move that was stopped has left at the source. `before` is the tree before that move.
void finishMove(const foundation::storage::provider::IProvider& provider, const TreeSnapshot& before,
                const Relocation& relocation);

} // namespace storage::tests
