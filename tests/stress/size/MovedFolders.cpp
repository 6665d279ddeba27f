#include "tests/stress/size/MovedFolders.h"

#include "tests/stress/Stopwatch.h"
#include "tests/support/ProcessMemory.h"

#include "hostapi/core/except/UtfConversion.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <fmt/core.h>

namespace storage::stress {

using foundation::core::except::toReadableUtf8;
using provider::ReplacementPolicy;

namespace {

constexpr unsigned long levels = 10;        // depth of a branch
constexpr unsigned long leavesPerLevel = 9; // besides the next folder of the branch

const std::u16string oldTop = u"/old/t";
const std::u16string newTop = u"/new/t";

const boost::posix_time::ptime timeBefore(boost::gregorian::date(2001, 2, 3));

std::u16string branchPath(unsigned long branch) {
    std::u16string path = u"/";
    return path += nameOfNumber(branch, 3);
}

std::string contentOf(unsigned long branch) {
    return "branch " + std::to_string(branch);
}

} // namespace

void MovedFolders::run() {
    const Stopwatch watch;
    const ProcessMemory memory;
    createAll();
    const auto used = memory.peakGrowth();
    moveAll();
    const auto usedByMove = memory.peakGrowth();
    expectFoldersMoved();
    expectFilesMoved();
    expectNothingElse();
    fmt::print("moved folders: {} folders and {} files moved in one call, {:.1f} s\n", folders_, branches_,
               watch.seconds());
    fmt::print("moved folders: {} bytes of memory per folder, {} more at the peak of the move\n",
               used / static_cast<long>(folders_), (usedByMove - used) / static_cast<long>(folders_));
}

void MovedFolders::forEachFolder(const FolderVisitor& visit) const {
    visit(u"", branches_);
    for (unsigned long branch = 0; branch < branches_; ++branch) {
        std::u16string path = branchPath(branch);
        for (unsigned long level = 1; level <= levels; ++level) {
            visit(path, leavesPerLevel + (level < levels ? 1 : 0));
            for (unsigned long leaf = 0; leaf < leavesPerLevel; ++leaf) {
                visit(path + u"/" + nameOfNumber(leaf, 1), 0);
            }
            path += u"/d";
        }
    }
}

void MovedFolders::forEachFile(const FileVisitor& visit) const {
    for (unsigned long branch = 0; branch < branches_; ++branch) {
        std::u16string path = branchPath(branch);
        for (unsigned long level = 1; level < levels; ++level) {
            path += u"/d";
        }
        visit(path + u"/f", branch);
    }
}

void MovedFolders::createAll() {
    provider_->doCreateFolder(StorageIRI(u"/old"));
    provider_->doCreateFolder(StorageIRI(u"/new"));
    forEachFolder([this](const std::u16string& path, unsigned long) {
        provider_->doCreateFolder(StorageIRI(oldTop + path));
        ++folders_;
    });
    forEachFile([this](const std::u16string& path, unsigned long branch) {
        const auto content = contentOf(branch);
        provider_->doOpenStream(StorageIRI(oldTop + path), {})
            ->write(content.data(), static_cast<long>(content.size()));
        provider_->doSetLastModified(StorageIRI(oldTop + path), timeBefore);
    });
    forEachFolder([this](const std::u16string& path, unsigned long) {
        provider_->doSetLastModified(StorageIRI(oldTop + path), timeBefore);
    });
}

void MovedFolders::moveAll() {
    provider_->doMoveFolder(StorageIRI(oldTop), StorageIRI(newTop), ReplacementPolicy::RefuseExisting);
    timeOfMove_ = provider_->doGetFolderAttributes(StorageIRI(newTop)).getLastModified();
    requireThat(timeOfMove_ != timeBefore, "moved folders: the move does not stamp the top");
    for (const char16_t* parent : {u"/old", u"/new"}) {
        requireThat(provider_->doGetFolderAttributes(StorageIRI(parent)).getLastModified() == timeOfMove_,
                    "moved folders: wrong time of a parent");
    }
}

/// Existence and attributes come from the parent folder. Listings come from the folder map.
void MovedFolders::expectFoldersMoved() {
    forEachFolder([this](const std::u16string& path, unsigned long children) {
        const StorageIRI before(oldTop + path);
        const StorageIRI now(newTop + path);
        requireThat(!provider_->doExists(before) && cannotBeListed(*provider_, before),
                    "moved folders: not removed: ", toReadableUtf8(before.getPath()));
        requireThat(provider_->doFolderExists(now),
                    "moved folders: missing: ", toReadableUtf8(now.getPath()));
        const auto attributes = provider_->doGetFolderAttributes(now);
        requireThat(attributes.getLastModified() == timeOfMove_ && attributes.isWritable(),
                    "moved folders: wrong time or flag: ", toReadableUtf8(now.getPath()));
        requireThat(countOf(*provider_->doListFolders(now)) == children,
                    "moved folders: wrong number of folders in ", toReadableUtf8(now.getPath()));
    });
}

void MovedFolders::expectFilesMoved() {
    forEachFile([this](const std::u16string& path, unsigned long branch) {
        const StorageIRI now(newTop + path);
        requireThat(!provider_->doExists(StorageIRI(oldTop + path)) && provider_->doFileExists(now),
                    "moved folders: not moved: ", toReadableUtf8(now.getPath()));
        const auto content = contentOf(branch);
        const auto attributes = provider_->doGetFileAttributes(now);
        requireThat(attributes.getLastModified() == timeOfMove_ && attributes.getSize() == content.size(),
                    "moved folders: wrong time or size: ", toReadableUtf8(now.getPath()));
        std::string read(content.size(), ' ');
        provider_->doOpenReadOnlyStream(now)->read(read.data(), static_cast<long>(read.size()));
        requireThat(read == content, "moved folders: wrong bytes: ", toReadableUtf8(now.getPath()));
    });
}

void MovedFolders::expectNothingElse() {
    const auto listing = provider_->doListAllRecursive(StorageIRI(u"/"));
    const auto expected = 2 + folders_ + branches_; // the two parents, the moved folders and files
    const auto found = countOf(*listing);
    requireThat(found == expected, "moved folders: ", found, " entries instead of ", expected);
}

} // namespace storage::stress
