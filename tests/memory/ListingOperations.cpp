#include "tests/memory/Operations.h"

#include "hostapi/storage/provider/ShortNamespace.h"

namespace storage::tests {

using namespace provider;
using Shape = TreeShape;
using enum Operation::Allocates;

namespace {

using Listing = std::unique_ptr<IFolderEntryIterator>;
using Opening = std::function<Listing(IProvider&, const TreeShape&)>;

Listing listOneFolder(IProvider& provider, const TreeShape& shape) {
    return provider.doListAll(*shape.folder);
}

Listing listRecursively(IProvider& provider, const TreeShape& shape) {
    return provider.doListAllRecursive(*shape.folder);
}

/// An operation that passes a listing of `folder`, after its first step, to `call`. A failed call leaves the
/// position of the listing unchanged.
template <class Call>
Operation onListing(std::string name, const Opening& open, Call call) {
    const auto prepare = [=](IProvider& provider, const TreeShape& shape) {
        const std::shared_ptr<IFolderEntryIterator> listing = open(provider, shape);
        listing->step();
        const auto first = listing->getEntry();
        const auto clone = std::make_shared<Listing>(listing->clone());
        const auto run = [=] { call(*listing, *clone); };
        const auto result = [=] {
            const std::string ofClone = *clone ? described(*clone) : "";
            return described(listing->getEntry()) + " then " + described(listing->clone()) + ", cloned " +
                   ofClone;
        };
        const auto finish = [=](const TreeSnapshot& /*before*/) {
            EXPECT_EQ(listing->getEntry(), first);
            EXPECT_TRUE(listing->hasNext());
            run();
        };
        return Attempt{run, result, finish};
    };
    return {.name = std::move(name), .needs = {&Shape::folder}, .prepare = prepare};
}

std::vector<Operation> onEveryListing(const std::string& kind, const Opening& open) {
    return {
        onListing(kind + "HasNext", open, [](auto& listing, auto&) { EXPECT_TRUE(listing.hasNext()); })
            .allocating(Never),
        onListing(kind + "GetEntry", open, [](auto& listing, auto&) { listing.getEntry(); })
            .allocating(ForLongNames),
        onListing(kind + "Clone", open, [](auto& listing, auto& clone) { clone = listing.clone(); })
            .allocating(Always),
        onListing(kind + "DropAClone", open, [](auto&, auto& clone) { clone.reset(); }).allocating(Never),
    };
}

} // namespace

std::vector<Operation> listingOperations() {
    const auto step = [](auto& listing, auto&) { listing.step(); };
    std::vector<Operation> all{
        onListing("listingOfAFolderStep", listOneFolder, step).allocating(Never),
        onListing("recursiveListingStep", listRecursively, step).allocating(Never),
    };
    for (const auto& some : {onEveryListing("listingOfAFolder", listOneFolder),
                             onEveryListing("recursiveListing", listRecursively)}) {
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

} // namespace storage::tests
