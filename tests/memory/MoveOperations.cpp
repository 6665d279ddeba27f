#include "tests/memory/Operations.h"

#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/memory/Relocation.h"

namespace storage::tests {

using namespace provider;
using Shape = TreeShape;
using Role = TreeShape::Role TreeShape::*;
using enum ReplacementPolicy;

namespace {

/// Providers treat it like `ReplaceExisting`.
constexpr auto unnamedPolicy = static_cast<ReplacementPolicy>(2);

Operation fileMove(std::string name, Role source, Role destination, ReplacementPolicy policy) {
    return operation(std::move(name), {source, destination},
                     [=](auto& p, auto& s) { p.doMoveFile(*(s.*source), *(s.*destination), policy); })
        .allocating(Operation::Allocates::Always);
}

/// To finish, entries that a stopped move left at the source are moved one by one, as a user would do.
Operation folderMove(std::string name, Role source, Role destination, ReplacementPolicy policy) {
    const auto prepare = [=](IProvider& provider, const TreeShape& shape) {
        const auto& from = *(shape.*source);
        const auto& to = *(shape.*destination);
        return Attempt{.run = [=, &provider, &from, &to] { provider.doMoveFolder(from, to, policy); },
                       .result = [] { return std::string(); },
                       .finish =
                           [&](const TreeSnapshot& before) {
                               finishMove(provider, before, relocate(before, pathOf(from), pathOf(to)));
                           }};
    };
    return {.name = std::move(name),
            .needs = {source, destination},
            .prepare = prepare,
            .allocates = Operation::Allocates::Always,
            .guarantee = partlyMoved(source, destination)};
}

} // namespace

std::vector<Operation> moveOperations() {
    return {
        fileMove("moveAFile", &Shape::file, &Shape::newAtTop, RefuseExisting),
        fileMove("moveAFileIntoAFolder", &Shape::otherFile, &Shape::newEntry, ReplaceExisting),
        fileMove("moveAReadOnlyFile", &Shape::readOnlyFile, &Shape::newAtTop, RefuseExisting),
        fileMove("moveAFileOverAnother", &Shape::file, &Shape::otherFile, ReplaceExisting),
        fileMove("moveAFileOverAnotherByAnUnnamedPolicy", &Shape::otherFile, &Shape::file, unnamedPolicy),
        folderMove("moveAFolder", &Shape::folder, &Shape::newAtTop, RefuseExisting),
        folderMove("moveAnEmptyFolder", &Shape::emptyFolder, &Shape::newAtTop, RefuseExisting),
        folderMove("moveAFolderOverAnEmptyOne", &Shape::folder, &Shape::emptyFolder, ReplaceExisting)
            .onSmallTreesOnly(),
        folderMove("moveAFolderOverAnEmptyOneRefusingFiles", &Shape::folder, &Shape::emptyFolder,
                   RefuseExistingFile)
            .onSmallTreesOnly(),
    };
}

} // namespace storage::tests
