#include "host/storage/Listing.h"
#include "host/support/Utf.h"
#include "host/validate/checks/CheckCatalogue.h"
#include "host/validate/checks/EntryKind.h"
#include "host/validate/kit/CheckContext.h"
#include "host/validate/kit/Expectations.h"
#include "host/validate/kit/StreamSteps.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>
#include <array>
#include <bit>
#include <fmt/format.h>
#include <set>

namespace storage::host::checks {

using namespace provider;

namespace listing_checks {
namespace {

using Listing = std::unique_ptr<IFolderEntryIterator>;
using Entries = std::vector<FolderEntry>;
using Type = FolderEntry::EntryType;

/// One of the three listing operations and the kinds of entries that it yields.
struct ListingKind {
    const char* operation;
    Listing (IProvider::*list)(const StorageIRI&) const;
    bool yieldsFiles;
    bool yieldsFolders;

    bool yields(const FolderEntry& entry) const {
        return entry.getType() == Type::File ? yieldsFiles : yieldsFolders;
    }
};

constexpr ListingKind allKind{"doListAll", &IProvider::doListAll, true, true};
constexpr ListingKind filesKind{"doListFiles", &IProvider::doListFiles, true, false};
constexpr ListingKind foldersKind{"doListFolders", &IProvider::doListFolders, false, true};
constexpr std::array listingKinds{allKind, filesKind, foldersKind};

std::string shown(const Entries& entries) {
    std::string text;
    for (const FolderEntry& entry : entries) {
        text += fmt::format("{}{} \"{}\"", text.empty() ? "" : ", ",
                            entry.getType() == Type::File ? "file" : "folder", printable(entry.getName()));
    }
    return "[" + text + "]";
}

void expectSame(const Entries& seen, const Entries& expected, std::string_view what) {
    expect(seen == expected, fmt::format("{} yields {}, not {}", what, shown(seen), shown(expected)));
}

/// Files and folders alternate in the order of the names.
const Entries mixture{
    {u"a", Type::Folder}, {u"b", Type::File}, {u"c", Type::Folder}, {u"d", Type::File}, {u"e", Type::Folder}};

Entries partOf(const Entries& entries, const ListingKind& kind) {
    Entries part;
    std::copy_if(entries.begin(), entries.end(), std::back_inserter(part),
                 [&](const FolderEntry& entry) { return kind.yields(entry); });
    return part;
}

/// Creates the folder "d" with these entries.
StorageIRI makeFolder(CheckContext& context, const Entries& entries) {
    context.provider().doCreateFolder(context.at(u"d"));
    for (const FolderEntry& entry : entries) {
        const EntryKind& kind = entry.getType() == Type::File ? fileKind : folderKind;
        (context.provider().*kind.create)(context.at(u"d/" + entry.getName()));
    }
    return context.at(u"d");
}

template <const ListingKind& kind>
void yieldsItsKinds(CheckContext& context) {
    const StorageIRI folder = makeFolder(context, mixture);
    expectSame(sortedEntries((context.provider().*kind.list)(folder)), partOf(mixture, kind), kind.operation);
}

void emptyFolder(CheckContext& context) {
    const StorageIRI folder = makeFolder(context, {});
    for (const ListingKind& kind : listingKinds) {
        expect(!(context.provider().*kind.list)(folder)->hasNext(),
               fmt::format("{} of an empty folder has an entry", kind.operation));
    }
}

void folderOfOneKind(CheckContext& context) {
    const IProvider& provider = context.provider();
    for (const Type type : {Type::File, Type::Folder}) {
        const Entries entries{{u"1", type}, {u"2", type}};
        const StorageIRI folder = makeFolder(context, entries);
        for (const ListingKind& kind : listingKinds) {
            const Listing listing = (provider.*kind.list)(folder);
            expect(listing->hasNext() == kind.yields(entries.front()),
                   fmt::format("{} of a folder with only {} {} an entry", kind.operation,
                               type == Type::File ? "files" : "folders",
                               listing->hasNext() ? "yields" : "does not yield"));
        }
        provider.doRemoveFolderRecursively(folder);
    }
}

void directEntriesAlone(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI folder = makeFolder(context, {{u"inner", Type::Folder}});
    provider.doCreateFile(context.at(u"d/inner/f"));
    provider.doCreateFolder(context.at(u"d/inner/g"));
    provider.doCreateFile(context.at(u"d-1"));
    provider.doCreateFolder(context.at(u"d1"));
    for (const ListingKind& kind : listingKinds) {
        expectSame(readEntries((provider.*kind.list)(folder)), partOf({{u"inner", Type::Folder}}, kind),
                   kind.operation);
    }
}

template <const ListingKind& kind>
void missingFolder(CheckContext& context) {
    makeFile(context.provider(), context.at(u"f"), "");
    for (const char16_t* path : {u"missing", u"missing/e", u"f/e"}) {
        const StorageIRI folder = context.at(path);
        expectRefusal(
            context, [&] { (context.provider().*kind.list)(folder); }, ErrorCode::NotFound, folder,
            fmt::format("{} of a missing folder", kind.operation));
    }
}

template <const ListingKind& kind>
void listingFile(CheckContext& context) {
    const StorageIRI file = context.at(u"f");
    makeFile(context.provider(), file, "");
    expectRefusal(
        context, [&] { (context.provider().*kind.list)(file); }, ErrorCode::NotFound, file,
        fmt::format("{} of a file", kind.operation));
}

void laterEntryIsNotSeen(CheckContext& context) {
    const IProvider& provider = context.provider();
    for (const ListingKind& kind : listingKinds) {
        const StorageIRI folder = makeFolder(context, mixture);
        Listing listing = (provider.*kind.list)(folder);
        provider.doCreateFile(context.at(u"d/later file"));
        provider.doCreateFolder(context.at(u"d/later folder"));
        expectSame(sortedEntries(std::move(listing)), partOf(mixture, kind),
                   fmt::format("{}, of a folder that got new entries later,", kind.operation));
        provider.doRemoveFolderRecursively(folder);
    }
}

void removedEntryIsSeen(CheckContext& context) {
    const IProvider& provider = context.provider();
    for (const ListingKind& kind : listingKinds) {
        const StorageIRI folder = makeFolder(context, mixture);
        Listing listing = (provider.*kind.list)(folder);
        for (const FolderEntry& entry : mixture) {
            const EntryKind& removed = entry.getType() == Type::File ? fileKind : folderKind;
            (provider.*removed.remove)(context.at(u"d/" + entry.getName()));
        }
        expectSame(sortedEntries(std::move(listing)), partOf(mixture, kind),
                   fmt::format("{}, of a folder that was emptied later,", kind.operation));
        provider.doRemoveFolder(folder);
    }
}

void folderRemovedMeanwhile(CheckContext& context) {
    const IProvider& provider = context.provider();
    for (const ListingKind& kind : listingKinds) {
        const StorageIRI folder = makeFolder(context, mixture);
        Listing listing = (provider.*kind.list)(folder);
        listing->step();
        Entries seen{listing->getEntry()};
        provider.doRemoveFolderRecursively(folder);
        for (const FolderEntry& entry : readEntries(std::move(listing))) {
            seen.push_back(entry);
        }
        expect(seen.size() == partOf(mixture, kind).size(),
               fmt::format("{}, of a folder that was removed after one step, yields {}", kind.operation,
                           shown(seen)));
    }
}

/// A clone made after any number of steps must yield exactly the entries that the listing yields from there
/// on. The clone is compared with its own listing, because the order of another listing may differ.
template <const ListingKind& kind>
void cloneYieldsTheRest(CheckContext& context) {
    const StorageIRI folder = makeFolder(context, mixture);
    const Listing listing = (context.provider().*kind.list)(folder);
    std::vector<Entries> rests{readEntries(listing->clone())};
    Entries whole;
    while (listing->hasNext() && whole.size() < mixture.size()) {
        listing->step();
        whole.push_back(listing->getEntry());
        rests.push_back(readEntries(listing->clone()));
    }
    expect(whole.size() == partOf(mixture, kind).size(),
           fmt::format("{} yields {}", kind.operation, shown(whole)));
    for (std::size_t steps = 0; steps < rests.size(); ++steps) {
        expectSame(rests[steps], Entries(whole.begin() + static_cast<long>(steps), whole.end()),
                   fmt::format("a clone of {} after {} steps", kind.operation, steps));
    }
}

void cloneIsIndependent(CheckContext& context) {
    const StorageIRI folder = makeFolder(context, mixture);
    const Listing listing = context.provider().doListAll(folder);
    const Entries whole = readEntries(listing->clone());
    listing->step();
    const Listing clone = listing->clone();
    clone->step();
    clone->step();
    expect(listing->getEntry() == whole[0] && clone->getEntry() == whole[2],
           "stepping a clone moves the listing that it was made from");
    listing->step();
    expect(listing->getEntry() == whole[1] && clone->getEntry() == whole[2],
           "stepping a listing moves its clone");
    expectSame(readEntries(clone->clone()), Entries(whole.begin() + 3, whole.end()), "a clone of a clone");
}

void cloneOutlivesListing(CheckContext& context) {
    const StorageIRI folder = makeFolder(context, mixture);
    Listing listing = context.provider().doListAll(folder);
    Listing clone = listing->clone();
    listing.reset();
    expectSame(sortedEntries(std::move(clone)), mixture, "a clone of a destroyed listing");
}

void cloneIsOfTheSnapshot(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI folder = makeFolder(context, mixture);
    const Listing listing = provider.doListAll(folder);
    provider.doCreateFile(context.at(u"d/0"));
    provider.doRemoveFile(context.at(u"d/b"));
    expectSame(sortedEntries(listing->clone()), mixture, "a clone, made after the folder was changed,");
}

void askingDoesNotMove(CheckContext& context) {
    const StorageIRI folder = makeFolder(context, mixture);
    const Listing listing = context.provider().doListAll(folder);
    Entries seen;
    const auto alwaysHasNext = [&] {
        constexpr int times = 100;
        const bool first = listing->hasNext();
        for (int i = 1; i < times; ++i) {
            expect(listing->hasNext() == first, "hasNext returns another value when it is called again");
        }
        return first;
    };
    while (alwaysHasNext()) {
        listing->step();
        const FolderEntry entry = listing->getEntry();
        alwaysHasNext();
        expect(listing->getEntry() == entry, "a listing returns another entry when getEntry is called again");
        seen.push_back(entry);
        expect(seen.size() <= mixture.size(), "a listing yields more entries than exist");
    }
    expect(seen.size() == mixture.size(),
           fmt::format("with many calls of hasNext before each step, a listing yields {}", shown(seen)));
}

void lastEntryStays(CheckContext& context) {
    const Entries only{{u"f", Type::File}};
    const Listing listing = context.provider().doListAll(makeFolder(context, only));
    listing->step();
    expect(!listing->hasNext(), "a listing of one entry has a second one");
    expectSame({listing->getEntry()}, only, "at its end, a listing of one entry");
}

void listingsAreApart(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI folder = makeFolder(context, mixture);
    for (const ListingKind& kind : listingKinds) {
        const Listing first = (provider.*kind.list)(folder);
        first->step();
        expectSame(sortedEntries((provider.*kind.list)(folder)), partOf(mixture, kind),
                   "a listing of a folder while another one is in progress");
        const FolderEntry entry = first->getEntry();
        first->step();
        expect(first->getEntry() != entry, "a second listing of a folder affects the first");
    }
}

void rootListsItsEntries(CheckContext& context) {
    const std::u16string ownName = context.at(u"").getPath().substr(1);
    const Entries entries = readEntries(context.provider().doListFolders(StorageIRI(u"/")));
    expect(std::find(entries.begin(), entries.end(), FolderEntry(ownName, Type::Folder)) != entries.end(),
           fmt::format("the root does not list its folder {}", printable(ownName)));
}

/// Names must be sorted by UTF-16 code unit. The last two would be reversed if sorted by code point.
void inOrder(CheckContext& context) {
    Entries expected;
    for (const char16_t* name :
         {u" ", u"-", u"0", u"A", u"B", u"Ba", u"a", u"\u00E4", u"\U0001F600", u"\uFF5E"}) {
        expected.emplace_back(name, Type::File);
    }
    const StorageIRI folder = makeFolder(context, {expected.rbegin(), expected.rend()});
    expectSame(readEntries(context.provider().doListAll(folder)), expected, "doListAll");
    expectSame(readEntries(context.provider().doListFiles(folder)), expected, "doListFiles");
}

/// Creates random entries, at least one file and one folder, and does the same in each folder.
void makeRandomTree(CheckContext& context, const std::u16string& path, int depth) {
    for (auto left = 3 + context.random()() % 6; left > 0; --left) {
        const bool isFolder = left == 1 || (left > 2 && context.random()() % 2 == 0);
        const std::u16string child =
            path + static_cast<char16_t>(u'a' + left) + std::u16string(context.random()() % 3, u'x');
        (context.provider().*(isFolder ? folderKind : fileKind).create)(context.at(child));
        if (isFolder && depth > 0) {
            makeRandomTree(context, child + u"/", depth - 1);
        }
    }
}

void expectListedAsIs(CheckContext& context, const std::u16string& path) {
    const IProvider& provider = context.provider();
    for (const ListingKind& kind : listingKinds) {
        const Entries whole = sortedEntries(provider.doListAll(context.at(path)));
        expectSame(sortedEntries((provider.*kind.list)(context.at(path))), partOf(whole, kind),
                   kind.operation);
        for (const FolderEntry& entry : whole) {
            const std::u16string child = path.empty() ? entry.getName() : path + u"/" + entry.getName();
            const bool isFolder = entry.getType() == Type::Folder;
            expect(provider.doFolderExists(context.at(child)) == isFolder &&
                       provider.doFileExists(context.at(child)) != isFolder,
                   fmt::format("{} exists as another kind than it is listed as", printable(child)));
            if (isFolder && &kind == &listingKinds.front()) {
                expectListedAsIs(context, child);
            }
        }
    }
}

void listingsAgree(CheckContext& context) {
    makeRandomTree(context, u"", 3);
    expectListedAsIs(context, u"");
}

void thousandsAreListed(CheckContext& context) {
    const IProvider& provider = context.provider();
    constexpr std::size_t count = 5'100;
    std::set<std::u16string> made;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string digits = std::to_string(i);
        made.emplace(digits.begin(), digits.end());
        const StorageIRI entry = context.at(std::u16string(digits.begin(), digits.end()));
        i % 2 == 0 ? provider.doCreateFile(entry) : provider.doCreateFolder(entry);
        const std::size_t size = i + 1;
        if (size < 20 || std::has_single_bit(size - 1) || std::has_single_bit(size) ||
            std::has_single_bit(i + 2)) {
            const std::size_t listed = readEntries(provider.doListAll(context.at(u""))).size();
            expect(listed == size, fmt::format("of {} entries, {} are listed", size, listed));
        }
    }
    expect(provider.doGetFolderAttributes(context.at(u"")).isWritable(),
           "a folder of many entries is read-only");
    expect(provider.doListAllNamesOnly(context.at(u"")).size() == count,
           "a list of thousands of names is incomplete");
    std::set<std::u16string> seen;
    std::set<std::u16string> seenByKind;
    for (const FolderEntry& entry : sortedEntries(provider.doListAll(context.at(u"")))) {
        seen.insert(entry.getName());
    }
    for (const auto list : {&IProvider::doListFiles, &IProvider::doListFolders}) {
        const auto entries = sortedEntries((provider.*list)(context.at(u"")));
        expect(entries.size() == count / 2,
               fmt::format("of {} entries of one kind, {} are listed", count / 2, entries.size()));
        for (const FolderEntry& entry : entries) {
            seenByKind.insert(entry.getName());
        }
    }
    expect(seen == made && seenByKind == made,
           fmt::format("of {} entries, {} are listed", count, seen.size()));
}

constexpr auto any = Profile::AnyProvider;
constexpr auto inMemory = Profile::InMemoryProvider;

constexpr std::array table{
    Check{"9.1", "listings.all", "doListAll yields each entry of a folder once, with its name and kind.", any,
          yieldsItsKinds<allKind>},
    Check{"9.2", "listings.files", "doListFiles yields each file of a folder once, and nothing else.", any,
          yieldsItsKinds<filesKind>},
    Check{"9.3", "listings.folders", "doListFolders yields each folder in a folder once, and nothing else.",
          any, yieldsItsKinds<foldersKind>},
    Check{"9.4", "listings.empty-folder", "A listing of an empty folder has no entries.", any, emptyFolder},
    Check{"9.5", "listings.folder-of-one-kind",
          "hasNext is false at once when the folder has no entry of the listed kind.", any, folderOfOneKind},
    Check{"9.6", "listings.direct-entries-alone", "A listing yields only direct entries.", any,
          directEntriesAlone},
    Check{"9.7", "listings.all-of-missing", "doListAll of a missing folder fails with NotFound.", any,
          missingFolder<allKind>},
    Check{"9.8", "listings.files-of-missing", "doListFiles of a missing folder fails with NotFound.", any,
          missingFolder<filesKind>},
    Check{"9.9", "listings.folders-of-missing", "doListFolders of a missing folder fails with NotFound.", any,
          missingFolder<foldersKind>},
    Check{"9.10", "listings.all-of-file", "doListAll of a file fails with NotFound.", any,
          listingFile<allKind>},
    Check{"9.11", "listings.files-of-file", "doListFiles of a file fails with NotFound.", any,
          listingFile<filesKind>},
    Check{"9.12", "listings.folders-of-file", "doListFolders of a file fails with NotFound.", any,
          listingFile<foldersKind>},
    Check{"9.13", "listings.later-entry-is-not-seen",
          "A listing is a snapshot: entries added later are not in it.", any, laterEntryIsNotSeen},
    Check{"9.14", "listings.removed-entry-is-seen",
          "A listing is a snapshot: entries removed later are still in it.", any, removedEntryIsSeen},
    Check{"9.15", "listings.folder-removed-meanwhile", "A listing remains usable when its folder is removed.",
          any, folderRemovedMeanwhile},
    Check{"9.16", "listings.clone-of-all",
          "A clone of doListAll yields the remaining entries in the order of the listing.", any,
          cloneYieldsTheRest<allKind>},
    Check{"9.17", "listings.clone-of-files",
          "A clone of doListFiles yields the remaining entries in the order of the listing.", any,
          cloneYieldsTheRest<filesKind>},
    Check{"9.18", "listings.clone-of-folders",
          "A clone of doListFolders yields the remaining entries in the order of the listing.", any,
          cloneYieldsTheRest<foldersKind>},
    Check{"9.19", "listings.clone-is-independent", "A listing and its clone advance independently.", any,
          cloneIsIndependent},
    Check{"9.20", "listings.clone-outlives-listing", "A clone remains usable when its listing is destroyed.",
          any, cloneOutlivesListing},
    Check{"9.21", "listings.clone-is-of-the-snapshot",
          "A clone yields the entries of the snapshot, even if the folder has changed since.", any,
          cloneIsOfTheSnapshot},
    Check{"9.22", "listings.asking-does-not-move", "hasNext and getEntry do not advance a listing.", any,
          askingDoesNotMove},
    Check{"9.23", "listings.last-entry-stays",
          "At its end, a listing still returns the entry of its last step.", any, lastEntryStays},
    Check{"9.24", "listings.apart", "Two listings of one folder are independent.", any, listingsAreApart},
    Check{"9.25", "listings.root", "The root lists its entries.", any, rootListsItsEntries},
    Check{"9.26", "listings.order", "A listing is in the order of the names' code units.", inMemory, inOrder},
    Check{"9.27", "listings.agree",
          "The listings of a random tree agree with one another and with the existence tests.", any,
          listingsAgree},
    Check{"9.28", "listings.thousands", "A listing has every entry of a folder with thousands of entries.",
          any, thousandsAreListed},
};

} // namespace
} // namespace listing_checks

std::span<const Check> listings() {
    return listing_checks::table;
}

} // namespace storage::host::checks
