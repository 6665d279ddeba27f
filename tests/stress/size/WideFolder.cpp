#include "tests/stress/size/WideFolder.h"

#include "tests/stress/Stopwatch.h"
#include "tests/support/ProcessMemory.h"

#include <fmt/core.h>

namespace storage::stress {

namespace {

constexpr unsigned long filesPerFolder = 1000;
constexpr unsigned nameLength = 7;

const StorageIRI folder(u"/w");

bool everyNumber(unsigned long) {
    return true;
}

} // namespace

WideFolder::WideFolder(unsigned long files) : files_(files), entries_(files + files / filesPerFolder) {}

void WideFolder::run() {
    const Stopwatch watch;
    const ProcessMemory memory;
    provider_->doCreateFolder(folder);
    createAll();
    const auto used = memory.peakGrowth();
    lookUpAll();
    listAll();
    cloneHalfWay();
    const auto usedWithClone = memory.peakGrowth();
    removeAll();
    fmt::print("wide folder: {} files and {} folders in one folder, {} operations, {:.1f} s\n", files_,
               entries_ - files_, operations_, watch.seconds());
    fmt::print("wide folder: {} bytes of memory per entry, {} more with a listing and its clone\n",
               used / static_cast<long>(entries_), (usedWithClone - used) / static_cast<long>(entries_));
}

void WideFolder::createAll() {
    for (unsigned long turn = 0; turn < entries_; ++turn) {
        const auto number = scattered(turn);
        if (isFolder(number)) {
            provider_->doCreateFolder(iri(number));
        } else {
            provider_->doCreateFile(iri(number));
        }
        provider_->doSetLastModified(iri(number), time(number));
        operations_ += 2;
    }
}

void WideFolder::lookUpAll() {
    for (unsigned long number = 0; number < entries_; ++number) {
        lookUp(number);
    }
    requireThat(!provider_->doExists(iri(entries_)), "wide folder: a missing entry is found");
}

void WideFolder::lookUp(unsigned long number) {
    const StorageIRI location = iri(number);
    const bool asFile = provider_->doFileExists(location);
    const bool asFolder = provider_->doFolderExists(location);
    requireThat(asFile != isFolder(number) && asFolder == isFolder(number), "wide folder: entry ", number,
                " is missing or has the wrong kind");
    const auto attributes = provider_->doGetExtendedAttributes(location);
    requireThat(attributes.size == 0 && attributes.writable && attributes.lastModified == time(number),
                "wide folder: entry ", number, " has wrong attributes");
    operations_ += 3;
}

void WideFolder::listAll() {
    expectListing(*provider_->doListAll(folder), 0, everyNumber);
    expectListing(*provider_->doListFiles(folder), 0, [this](auto number) { return !isFolder(number); });
    expectListing(*provider_->doListFolders(folder), 0, [this](auto number) { return isFolder(number); });
}

void WideFolder::cloneHalfWay() {
    const auto listing = provider_->doListAll(folder);
    const auto half = entries_ / 2;
    for (unsigned long number = 0; number < half; ++number) {
        listing->step();
    }
    const auto clone = listing->clone();
    expectListing(*listing, half, everyNumber);
    expectListing(*clone, half, everyNumber);
}

void WideFolder::expectListing(IFolderEntryIterator& listing, unsigned long first,
                               const Selection& selected) {
    for (unsigned long number = first; number < entries_; ++number) {
        if (!selected(number)) {
            continue;
        }
        requireThat(listing.hasNext(), "wide folder: a listing ends before entry ", number);
        listing.step();
        const auto entry = listing.getEntry();
        const auto type = isFolder(number) ? FolderEntry::EntryType::Folder : FolderEntry::EntryType::File;
        requireThat(entry.getName() == nameOfNumber(number, nameLength) && entry.getType() == type,
                    "wide folder: wrong entry in a listing instead of entry ", number);
        ++operations_;
    }
    requireThat(!listing.hasNext(), "wide folder: a listing has too many entries");
}

void WideFolder::removeAll() {
    for (unsigned long turn = 0; turn < entries_; ++turn) {
        const auto number = scattered(turn);
        if (isFolder(number)) {
            provider_->doRemoveFolder(iri(number));
        } else {
            provider_->doRemoveFile(iri(number));
        }
        ++operations_;
        if (turn == entries_ / 2) {
            const auto left = countOf(*provider_->doListAll(folder));
            requireThat(left == entries_ - turn - 1, "wide folder: ", left,
                        " entries remain half-way through the removal");
        }
    }
    requireThat(!provider_->doListAll(folder)->hasNext(),
                "wide folder: it is not empty after removing all entries");
    provider_->doRemoveFolder(folder);
    requireThat(!provider_->doListAll(StorageIRI(u"/"))->hasNext(), "wide folder: the root still lists it");
}

bool WideFolder::isFolder(unsigned long number) const {
    return number % (filesPerFolder + 1) == filesPerFolder;
}

StorageIRI WideFolder::iri(unsigned long number) const {
    return StorageIRI(folder.getPath() + u"/" + nameOfNumber(number, nameLength));
}

boost::posix_time::ptime WideFolder::time(unsigned long number) const {
    return boost::posix_time::ptime(boost::gregorian::date(2001, 2, 3),
                                    boost::posix_time::microseconds(static_cast<long>(number)));
}

unsigned long WideFolder::scattered(unsigned long turn) const {
    constexpr unsigned long stride =
        611'953; // a prime that does not divide the number of entries, so this is a permutation
    return turn * stride % entries_;
}

} // namespace storage::stress
