#include "tests/stress/size/DeepTree.h"

#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/stress/Stopwatch.h"
#include "tests/support/ProcessMemory.h"
#include "tests/support/SmallStack.h"

#include <fmt/core.h>

#include <exception>

namespace storage::stress {

using provider::ReplacementPolicy;
using tests::greatDepth;

namespace {

const std::u16string firstTop = u"/a";
const std::u16string secondTop = u"/b";
const std::u16string step = u"/d";

/// The folder at depth `level`; the top has depth 1.
StorageIRI folderAt(const std::u16string& top, int level) {
    std::u16string path = top;
    for (int i = 1; i < level; ++i) {
        path += step;
    }
    return StorageIRI(path);
}

} // namespace

void DeepTree::run() {
    const Stopwatch watch;
    const ProcessMemory memory;
    std::exception_ptr failure;
    tests::runOnSmallStack([&] {
        try {
            tryEverything();
        } catch (...) {
            failure = std::current_exception();
        }
    });
    if (failure) {
        std::rethrow_exception(failure);
    }
    fmt::print("deep tree: {} levels on a stack of {} KiB, at most {} MiB of memory, {:.1f} s\n", greatDepth,
               tests::smallStackSize / 1024, memory.peakGrowth() >> 20, watch.seconds());
}

void DeepTree::tryEverything() {
    create(firstTop);
    move();
    list();
    remove();
    create(secondTop);
    destroy();
}

void DeepTree::create(const std::u16string& top) {
    std::u16string path = top;
    for (int level = 1; level <= greatDepth; ++level) {
        provider_->doCreateFolder(StorageIRI(path));
        path += step;
    }
    requireThat(provider_->doFolderExists(folderAt(top, greatDepth)),
                "deep tree: the deepest folder is missing");
}

void DeepTree::move() {
    provider_->doMoveFolder(StorageIRI(firstTop), StorageIRI(secondTop), ReplacementPolicy::RefuseExisting);
    for (int level = 1; level <= greatDepth; ++level) {
        requireThat(provider_->doFolderExists(folderAt(secondTop, level)), "deep tree: level ", level,
                    " was not moved");
        requireThat(cannotBeListed(*provider_, folderAt(firstTop, level)), "deep tree: level ", level,
                    " still exists at its old path");
    }
}

void DeepTree::list() {
    for (int level = 1; level <= greatDepth; ++level) {
        const auto count = countOf(*provider_->doListAll(folderAt(secondTop, level)));
        requireThat(count == (level < greatDepth ? 1 : 0), "deep tree: level ", level, " lists ", count,
                    " entries");
    }
    const auto listing = provider_->doListAllRecursive(StorageIRI(secondTop));
    std::u16string expected = step.substr(1);
    for (int level = 2; level <= greatDepth; ++level) {
        requireThat(listing->hasNext(), "deep tree: a recursive listing ends before level ", level);
        listing->step();
        requireThat(listing->getEntry().getName() == expected, "deep tree: a recursive listing names level ",
                    level, " wrongly");
        expected += step;
    }
    requireThat(!listing->hasNext(), "deep tree: a recursive listing has too many entries");
}

void DeepTree::remove() {
    provider_->doRemoveFolderRecursively(StorageIRI(secondTop));
    requireThat(!provider_->doListAll(StorageIRI(u"/"))->hasNext(),
                "deep tree: it still exists after its removal");
}

void DeepTree::destroy() {
    const auto stream =
        provider_->doOpenStream(StorageIRI(folderAt(secondTop, greatDepth).getPath() + u"/f"), {});
    stream->write("deep", 4);
    const std::weak_ptr<IProvider> observer = provider_;
    provider_.reset();
    requireThat(observer.expired(), "deep tree: the provider is not destroyed");
    requireThat(stream->seek(0, std::ios_base::end) == 4,
                "deep tree: a stream lost its bytes with the provider");
}

} // namespace storage::stress
