#include "tests/memory/Guarantee.h"

#include "tests/memory/Relocation.h"

#include <set>

namespace storage::tests {

namespace {

using Path = std::u16string;

Path pathOfRole(const TreeShape& shape, TreeShape::Role TreeShape::*role) {
    return pathOf(*(shape.*role));
}

} // namespace

void unchanged(const TreeShape& /*shape*/, const Failure& failure) {
    EXPECT_TRUE(isSameTree(failure.now, failure.before, Times::All));
}

void unchangedOrRefused(const TreeShape& shape, const Failure& failure) {
    if (!isSameTree(failure.now, failure.expected, Times::Stamps)) {
        unchanged(shape, failure);
    }
}

void unchangedButForATemporaryFile(const TreeShape& /*shape*/, const Failure& failure) {
    const bool mayStay = failure.extent == FailingAllocation::Extent::FromThenOn;
    EXPECT_TRUE(
        isSameTree(mayStay ? withoutTemporaries(failure.now) : failure.now, failure.before, Times::OfFiles));
}

void partlyDone(const TreeShape& /*shape*/, const Failure& failure) {
    std::set<Path> paths;
    for (const auto* tree : {&failure.before, &failure.now, &failure.expected}) {
        for (const auto& [path, entry] : *tree) {
            paths.insert(path);
        }
    }
    for (const auto& path : paths) {
        EXPECT_TRUE(isSameAt(path, failure.now, failure.before, Times::OfFiles) ||
                    isSameAt(path, failure.now, failure.expected, Times::OfFiles))
            << testing::PrintToString(path) << " is in neither its old nor its new state";
    }
}

Guarantee partlyWritten(TreeShape::Role TreeShape::*role) {
    return [role](const TreeShape& shape, const Failure& failure) {
        const auto path = pathOfRole(shape, role);
        const std::string& old = failure.before.at(path).bytes;
        auto expected = failure.before;
        auto& bytes = expected.at(path).bytes;
        bytes = failure.expected.at(path).bytes;
        bytes.resize(old.size());
        EXPECT_TRUE(isSameTree(failure.now, expected, Times::All));
    };
}

Guarantee partlyGrown(TreeShape::Role TreeShape::*role) {
    return [role](const TreeShape& shape, const Failure& failure) {
        const auto path = pathOfRole(shape, role);
        const auto grown = failure.now.at(path);
        const std::string& most = failure.expected.at(path).bytes;
        EXPECT_GE(grown.bytes.size(), failure.before.at(path).bytes.size());
        auto expected = failure.before;
        expected.at(path).bytes = most.substr(0, grown.bytes.size());
        expected.at(path).lastModified = grown.lastModified;
        EXPECT_TRUE(isSameTree(failure.now, expected, Times::All));
    };
}

namespace {

/// Whether a moved file has everything that a move must not change.
bool isWhole(const EntrySnapshot& moved, const EntrySnapshot& original) {
    return moved.kind == original.kind && moved.bytes == original.bytes &&
           moved.isWritable == original.isWritable;
}

/// Checks that a move left each entry, undamaged, at its source or at its destination.
void expectEachEntryOnce(const Relocation& relocation, const Failure& failure) {
    for (const auto& [from, to] : relocation) {
        const bool atSource =
            failure.now.contains(from) && isSameAt(from, failure.now, failure.before, Times::OfFiles);
        const auto& original = failure.before.at(from);
        const bool atDestination = failure.now.contains(to) &&
                                   isSameAt(to, failure.now, failure.expected, Times::Stamps) &&
                                   (original.isFolder() || isWhole(failure.now.at(to), original));
        if (original.isFolder()) {
            EXPECT_TRUE(atSource || atDestination) << testing::PrintToString(from) << " is lost";
        } else {
            EXPECT_NE(atSource, atDestination)
                << testing::PrintToString(from) << (atSource ? " is duplicated" : " is lost or damaged");
            EXPECT_NE(failure.now.contains(from), failure.now.contains(to)) << testing::PrintToString(from);
        }
    }
}

/// Checks that a move changed no other entry, except the times of the two parents, and added none.
void expectNothingElseTouched(const Relocation& relocation, const std::set<Path>& parents,
                              const Failure& failure) {
    std::set<Path> destinations;
    for (const auto& [from, to] : relocation) {
        destinations.insert(to);
    }
    for (const auto* tree : {&failure.before, &failure.now}) {
        for (const auto& [path, entry] : *tree) {
            if (!relocation.contains(path) && !destinations.contains(path)) {
                const auto times = parents.contains(path) ? Times::None : Times::All;
                EXPECT_TRUE(isSameAt(path, failure.now, failure.before, times))
                    << testing::PrintToString(path);
            }
        }
    }
}

/// Whether the move has linked its first new folder.
bool hasBegun(const Path& destination, const Failure& failure) {
    const auto there = failure.now.find(destination);
    const auto before = failure.before.find(destination);
    return there != failure.now.end() && (before == failure.before.end() || there->second != before->second);
}

} // namespace

Guarantee partlyMoved(TreeShape::Role TreeShape::*source, TreeShape::Role TreeShape::*destination) {
    return [source, destination](const TreeShape& shape, const Failure& failure) {
        const auto target = pathOfRole(shape, destination);
        if (!hasBegun(target, failure)) {
            unchanged(shape, failure);
            return;
        }
        const auto from = pathOfRole(shape, source);
        const auto relocation = relocate(failure.before, from, target);
        expectEachEntryOnce(relocation, failure);
        expectNothingElseTouched(relocation, {parentOf(from), parentOf(target)}, failure);
    };
}

} // namespace storage::tests
