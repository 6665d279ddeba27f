#pragma once

#include "tests/memory/TreeComparison.h"

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <map>
#include <string>

namespace storage::tests {

/// Maps the old path to the new path for a moved folder and everything below it.
using Relocation = std::map<std::u16string, std::u16string>;

Relocation relocate(const TreeSnapshot& tree, const std::u16string& source,
                    const std::u16string& destination);

/// Moves the entries that a stopped folder move left at the source. `before` is the tree before that move.
void finishMove(const provider::IProvider& provider, const TreeSnapshot& before,
                const Relocation& relocation);

} // namespace storage::tests
