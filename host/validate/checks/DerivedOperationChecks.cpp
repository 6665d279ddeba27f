#include "host/support/Utf.h"
#include "host/validate/checks/CheckCatalogue.h"
#include "host/validate/kit/CheckContext.h"
#include "host/validate/kit/Expectations.h"
#include "host/validate/kit/Policies.h"
#include "host/validate/kit/StreamSteps.h"
#include "host/validate/kit/Times.h"
#include "host/validate/kit/TreeDescription.h"
#include "host/validate/kit/WriteProtection.h"
#include "hostapi/storage/provider/RequireNonNull.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>
#include <array>
#include <boost/property_tree/ptree.hpp>
#include <fmt/format.h>
#include <limits>
#include <stdexcept>

namespace storage::host::checks {

using namespace provider;

namespace derived_operation_checks {
namespace {

using Names = std::vector<std::u16string>;
using Listing = std::unique_ptr<IFolderEntryIterator>;

Names sorted(Names names) {
    std::sort(names.begin(), names.end());
    return names;
}

std::string printed(const Names& names) {
    std::string text;
    for (const std::u16string& name : names) {
        text += ' ';
        text += printable(name);
    }
    return text;
}

void expectNames(const Names& names, const Names& expected, std::string_view operation) {
    expect(sorted(names) == sorted(expected),
           fmt::format("{} yields{}, not{}", operation, printed(sorted(names)), printed(sorted(expected))));
}

/// The remaining names of a listing. Names of folders get a trailing "/".
Names markedNames(IFolderEntryIterator& listing) {
    Names names;
    while (listing.hasNext()) {
        listing.step();
        const FolderEntry entry = listing.getEntry();
        names.push_back(entry.getName());
        if (entry.getType() == FolderEntry::EntryType::Folder) {
            names.back() += u'/';
        }
    }
    return names;
}

Names markedNames(Listing listing) {
    return markedNames(*requireNonNull(std::move(listing), "listing"));
}

Names unmarked(Names names) {
    for (std::u16string& name : names) {
        if (name.ends_with(u'/')) {
            name.pop_back();
        }
    }
    return names;
}

void createFolders(CheckContext& context, std::initializer_list<std::u16string_view> paths) {
    for (const std::u16string_view path : paths) {
        context.provider().doCreateFolder(context.at(path));
    }
}

void createFiles(CheckContext& context, std::initializer_list<std::u16string_view> paths) {
    for (const std::u16string_view path : paths) {
        makeFile(context.provider(), context.at(path), "bytes");
    }
}

// Creating and removing trees

void createsEveryMissingFolder(CheckContext& context) {
    const IProvider& provider = context.provider();
    createFolders(context, {u"a"});
    provider.doCreateFolderRecursive(context.at(u"a/b/c/d"));
    for (const std::u16string_view folder : {u"a/b", u"a/b/c", u"a/b/c/d"}) {
        expect(provider.doFolderExists(context.at(folder)), "creating a folder and its parents omits one");
    }
    expectNames(provider.doListAllNamesOnly(context.at(u"a")), {u"b"}, "listing what was created");
}

void creatingAnExistingFolderChangesNothing(CheckContext& context) {
    const IProvider& provider = context.provider();
    createFolders(context, {u"a", u"a/b"});
    createFiles(context, {u"a/b/f"});
    const std::string before = describeTree(provider, context.at(u""));
    provider.doCreateFolderRecursive(context.at(u"a/b"));
    provider.doCreateFolderRecursive(context.at(u""));
    expect(describeTree(provider, context.at(u"")) == before,
           "creating an existing folder and its parents changes something");
    const WriteProtection protection(provider, context.at(u"a/b"));
    provider.doCreateFolderRecursive(context.at(u"a/b"));
    expect(!provider.doGetFolderAttributes(context.at(u"a/b")).isWritable(),
           "creating an existing folder makes it writable");
}

void fileInTheWayOfFolders(CheckContext& context) {
    const IProvider& provider = context.provider();
    createFolders(context, {u"a"});
    createFiles(context, {u"a/f"});
    for (const std::u16string_view folder : {u"a/f", u"a/f/b", u"a/f/b/c"}) {
        expectRefusal(
            context, [&] { provider.doCreateFolderRecursive(context.at(folder)); }, ErrorCode::AlreadyExists,
            context.at(u"a/f"), "creating folders where a file exists on the path");
    }
}

void folderThatCannotBeMadeIsNamed(CheckContext& context) {
    const IProvider& provider = context.provider();
    createFolders(context, {u"a"});
    const WriteProtection protection(provider, context.at(u"a"));
    expectRefusal(
        context, [&] { provider.doCreateFolderRecursive(context.at(u"a/b/c")); }, ErrorCode::ReadOnly,
        context.at(u"a/b"), "creating folders in a read-only folder");
    provider.doCreateFolderRecursive(context.at(u"a"));
}

void makeTree(CheckContext& context) {
    createFolders(context, {u"t", u"t/box", u"t/box/deep", u"t/box/deep/empty", u"t/sub"});
    createFiles(context, {u"t/alpha", u"t/beta.txt", u"t/box/alpha", u"t/box/deep/beta.txt", u"t/sub/gamma"});
}

void removesEverythingBelow(CheckContext& context) {
    makeTree(context);
    createFolders(context, {u"tree"});
    createFiles(context, {u"t0", u"tree/alpha"});
    context.provider().doRemoveFolderRecursively(context.at(u"t"));
    expect(!context.provider().doExists(context.at(u"t")),
           "a folder that was removed recursively still exists");
    expectNames(markedNames(context.provider().doListAllRecursive(context.at(u""))),
                {u"t0", u"tree/", u"tree/alpha"}, "after removing a folder recursively, listing the rest");
    createFolders(context, {u"t"});
    expectNames(context.provider().doListAllNamesOnly(context.at(u"t")), {},
                "listing a new folder where one was removed");
}

void removingWhatIsNoFolder(CheckContext& context) {
    createFiles(context, {u"f"});
    for (const std::u16string_view path : {u"missing", u"missing/d", u"f", u"f/d"}) {
        expectRefusal(
            context, [&] { context.provider().doRemoveFolderRecursively(context.at(path)); },
            ErrorCode::NotFound, context.at(path), "recursively removing a file or a missing folder");
    }
}

void entryThatCannotBeRemovedIsNamed(CheckContext& context) {
    makeTree(context);
    const IProvider& provider = context.provider();
    const WriteProtection protection(provider, context.at(u"t/box/deep/beta.txt"));
    expectFailure([&] { provider.doRemoveFolderRecursively(context.at(u"t")); }, ErrorCode::ReadOnly,
                  context.at(u"t/box/deep/beta.txt"), "removing a folder with a read-only file in it");
    expect(contentOf(provider, context.at(u"t/box/deep/beta.txt")) == "bytes",
           "recursively removing a folder changes the bytes of a read-only file in it");
    createFolders(context, {u"u"});
    createFiles(context, {u"u/f"});
    const WriteProtection another(provider, context.at(u"u/f"));
    expectFailure([&] { provider.doRemoveFolderRecursively(context.at(u"u")); }, ErrorCode::ReadOnly,
                  context.at(u"u/f"), "removing a folder with nothing but a read-only file in it");
}

void rootIsOnlyEmptied(CheckContext& context) {
    const auto provider = context.library().buildProvider();
    const StorageIRI root(u"/");
    provider->doCreateFolder(StorageIRI(u"/a"));
    makeFile(*provider, StorageIRI(u"/a/f"), "bytes");
    makeFile(*provider, StorageIRI(u"/f"), "bytes");
    provider->doRemoveFolderRecursively(root);
    expect(provider->doFolderExists(root), "recursively removing the root removes the root itself");
    expectNames(provider->doListAllNamesOnly(root), {}, "listing the root after it was emptied");
}

// Listings

/// Creates a folder "l" with the entries that patterns are matched against.
void makeNames(CheckContext& context) {
    createFolders(context, {u"l", u"l/ab", u"l/b", u"l/a.d"});
    createFiles(context, {u"l/a", u"l/abc", u"l/b.txt", u"l/q"});
}

struct PatternCase {
    const char16_t* pattern;
    Names matches; ///< names of folders have a trailing "/"
};

std::vector<PatternCase> patternCases() {
    return {
        {u"*", {u"a", u"ab/", u"abc", u"b/", u"a.d/", u"b.txt", u"q"}},
        {u"?", {u"a", u"b/", u"q"}},
        {u"a*", {u"a", u"ab/", u"abc", u"a.d/"}},
        {u"*b*", {u"ab/", u"abc", u"b/", u"b.txt"}},
        {u"a?", {u"ab/"}},
        {u"??", {u"ab/"}},
        {u"*.*", {u"a.d/", u"b.txt"}},
        {u"abc", {u"abc"}},
        {u"**c", {u"abc"}},
        {u"c", {}},
        {u"", {}},
    };
}

Names only(const Names& marked, FolderEntry::EntryType type) {
    Names chosen;
    std::copy_if(marked.begin(), marked.end(), std::back_inserter(chosen), [&](const std::u16string& name) {
        return name.ends_with(u'/') == (type == FolderEntry::EntryType::Folder);
    });
    return chosen;
}

void patternsChooseByName(CheckContext& context) {
    makeNames(context);
    const IProvider& provider = context.provider();
    const StorageIRI folder = context.at(u"l");
    for (const auto& [pattern, matches] : patternCases()) {
        const std::string operation = fmt::format("listing by the pattern {}", printable(pattern));
        expectNames(markedNames(provider.doListAllWildcards(folder, pattern)), matches, operation);
        expectNames(markedNames(provider.doListFilesWildcards(folder, pattern)),
                    only(matches, FolderEntry::EntryType::File), operation + ", files only,");
        expectNames(markedNames(provider.doListFoldersWildcards(folder, pattern)),
                    only(matches, FolderEntry::EntryType::Folder), operation + ", folders only,");
    }
}

void patternsChooseNamesOnly(CheckContext& context) {
    makeNames(context);
    const IProvider& provider = context.provider();
    const StorageIRI folder = context.at(u"l");
    for (const auto& [pattern, matches] : patternCases()) {
        const std::string operation = fmt::format("listing names by the pattern {}", printable(pattern));
        expectNames(provider.doListAllNamesOnlyWildcards(folder, pattern), unmarked(matches), operation);
        expectNames(provider.doListFilesNamesOnlyWildcards(folder, pattern),
                    only(matches, FolderEntry::EntryType::File), operation + ", files only,");
        expectNames(provider.doListFoldersNamesOnlyWildcards(folder, pattern),
                    unmarked(only(matches, FolderEntry::EntryType::Folder)), operation + ", folders only,");
    }
}

void namesOnlyAgree(CheckContext& context) {
    makeNames(context);
    const IProvider& provider = context.provider();
    const StorageIRI folder = context.at(u"l");
    expectNames(provider.doListAllNamesOnly(folder), unmarked(markedNames(provider.doListAll(folder))),
                "listing names");
    expectNames(provider.doListFilesNamesOnly(folder), markedNames(provider.doListFiles(folder)),
                "listing names of files");
    expectNames(provider.doListFoldersNamesOnly(folder),
                unmarked(markedNames(provider.doListFolders(folder))), "listing names of folders");
}

const Names& wholeTree() {
    static const Names names{u"alpha",           u"beta.txt",  u"box/",
                             u"box/alpha",       u"box/deep/", u"box/deep/beta.txt",
                             u"box/deep/empty/", u"sub/",      u"sub/gamma"};
    return names;
}

void recursiveListingNamesPaths(CheckContext& context) {
    makeTree(context);
    const Names names = markedNames(context.provider().doListAllRecursive(context.at(u"t")));
    expectNames(names, wholeTree(), "listing a tree");
    createFolders(context, {u"e"});
    expectNames(markedNames(context.provider().doListAllRecursive(context.at(u"e"))), {},
                "listing an empty tree");
}

/// Whether the whole storage is small enough to walk. The check's folder may be a small part of it.
bool isSmall(const IProvider& provider) {
    constexpr std::size_t enough = 2000;
    std::size_t count = 0;
    std::vector<StorageIRI> folders{StorageIRI(u"/")};
    while (!folders.empty() && count <= enough) {
        const std::u16string path = folders.back().getPath();
        const Listing listing = requireNonNull(provider.doListAll(folders.back()), "listing");
        folders.pop_back();
        for (; listing->hasNext() && count <= enough; ++count) {
            listing->step();
            const FolderEntry entry = listing->getEntry();
            if (entry.getType() == FolderEntry::EntryType::Folder) {
                folders.emplace_back((path == u"/" ? path : path + u"/") + entry.getName());
            }
        }
    }
    return count <= enough;
}

/// @throws CheckSkipped if the whole storage is too large or cannot be walked
void requireSmallStorage(const IProvider& provider) {
    bool small = false;
    try {
        small = isSmall(provider);
    } catch (const std::exception&) { // a folder that another host has removed or protected
    }
    if (!small) {
        skip("the whole storage is too large or cannot be listed");
    }
}

/// A file in the root during its lifetime, if the root accepts files.
class FileInRoot {
public:
    FileInRoot(const IProvider& provider, StorageIRI iri) : provider_(provider), iri_(std::move(iri)) {
        try {
            makeFile(provider_, iri_, "bytes");
        } catch (const Exception&) { // a storage may have only folders there
        }
    }
    FileInRoot(const FileInRoot&) = delete;
    FileInRoot& operator=(const FileInRoot&) = delete;
    ~FileInRoot() {
        try {
            provider_.doRemoveFile(iri_);
        } catch (...) { // a broken provider may be unable to
        }
    }

    bool exists() const { return provider_.doFileExists(iri_); }

private:
    const IProvider& provider_;
    StorageIRI iri_;
};

/// Ignores what other hosts have in the storage, but expects no entry twice.
void recursiveListingOfTheRoot(CheckContext& context) {
    makeTree(context);
    const IProvider& provider = context.provider();
    requireSmallStorage(provider);
    const StorageIRI root(u"/");
    const std::u16string own = context.at(u"").getPath().substr(1);
    const FileInRoot file(provider, StorageIRI(u"/" + own + u"-file"));
    Names expected{own + u"/", own + u"/t/"};
    for (const std::u16string& name : wholeTree()) {
        expected.push_back(std::u16string(own).append(u"/t/").append(name));
    }
    if (file.exists()) {
        expected.push_back(own + u"-file");
    }
    const auto expectOwn = [&](Names names, const Names& wanted, const char* operation) {
        std::sort(names.begin(), names.end());
        expect(std::adjacent_find(names.begin(), names.end()) == names.end(),
               fmt::format("{} yields an entry twice", operation));
        std::erase_if(names, [&](const std::u16string& name) { return !name.starts_with(own); });
        expectNames(names, wanted, operation);
    };
    expectOwn(markedNames(provider.doListAllRecursive(root)), expected, "listing the root recursively");
    expectOwn(markedNames(provider.doListAllRecursiveWildcards(root, u"*")), expected,
              "listing the root recursively by the pattern *");
    expectOwn(provider.doListAllRecursiveNamesOnly(root), unmarked(expected),
              "listing the names below the root recursively");
    expectOwn(provider.doListAllRecursiveNamesOnlyWildcards(root, u"alpha"),
              {own + u"/t/alpha", own + u"/t/box/alpha"},
              "listing the names below the root recursively by the pattern alpha");
}

void foldersComeBeforeWhatTheyHold(CheckContext& context) {
    makeTree(context);
    const Names names = markedNames(context.provider().doListAllRecursive(context.at(u"t")));
    const auto placeOf = [&](std::u16string_view name) {
        return std::find(names.begin(), names.end(), name);
    };
    for (const std::u16string& name : names) {
        const std::size_t end = unmarked({name}).front().rfind(u'/');
        expect(end == std::u16string::npos || placeOf(name.substr(0, end + 1)) < placeOf(name),
               fmt::format("listing a tree yields {} before the folder that holds it", printable(name)));
    }
}

void patternsDoNotKeepFoldersOut(CheckContext& context) {
    makeTree(context);
    const IProvider& provider = context.provider();
    const StorageIRI tree = context.at(u"t");
    expectNames(markedNames(provider.doListAllRecursiveWildcards(tree, u"*a*")),
                {u"alpha", u"beta.txt", u"box/alpha", u"box/deep/beta.txt", u"sub/gamma"},
                "listing a tree by the pattern *a*");
    expectNames(markedNames(provider.doListAllRecursiveWildcards(tree, u"deep")), {u"box/deep/"},
                "listing a tree by the pattern deep");
    expectNames(markedNames(provider.doListAllRecursiveWildcards(tree, u"box*alpha")), {},
                "listing a tree by a pattern that only a path matches");
}

void recursiveNamesOnlyAgree(CheckContext& context) {
    makeTree(context);
    const IProvider& provider = context.provider();
    const StorageIRI tree = context.at(u"t");
    expectNames(provider.doListAllRecursiveNamesOnly(tree), unmarked(wholeTree()),
                "listing the names of a tree");
    expectNames(provider.doListAllRecursiveNamesOnlyWildcards(tree, u"*e*"),
                {u"beta.txt", u"box/deep", u"box/deep/beta.txt", u"box/deep/empty"},
                "listing the names of a tree by the pattern *e*");
}

using ListOperation = void (*)(const IProvider&, const StorageIRI&);

constexpr std::array<ListOperation, 13> derivedListings{
    [](const IProvider& p, const StorageIRI& iri) { p.doListAllWildcards(iri, u"*"); },
    [](const IProvider& p, const StorageIRI& iri) { p.doListFilesWildcards(iri, u"*"); },
    [](const IProvider& p, const StorageIRI& iri) { p.doListFoldersWildcards(iri, u"*"); },
    [](const IProvider& p, const StorageIRI& iri) { p.doListAllNamesOnly(iri); },
    [](const IProvider& p, const StorageIRI& iri) { p.doListAllNamesOnlyWildcards(iri, u"*"); },
    [](const IProvider& p, const StorageIRI& iri) { p.doListFoldersNamesOnly(iri); },
    [](const IProvider& p, const StorageIRI& iri) { p.doListFoldersNamesOnlyWildcards(iri, u"*"); },
    [](const IProvider& p, const StorageIRI& iri) { p.doListFilesNamesOnly(iri); },
    [](const IProvider& p, const StorageIRI& iri) { p.doListFilesNamesOnlyWildcards(iri, u"*"); },
    [](const IProvider& p, const StorageIRI& iri) { p.doListAllRecursive(iri); },
    [](const IProvider& p, const StorageIRI& iri) { p.doListAllRecursiveWildcards(iri, u"*"); },
    [](const IProvider& p, const StorageIRI& iri) { p.doListAllRecursiveNamesOnly(iri); },
    [](const IProvider& p, const StorageIRI& iri) { p.doListAllRecursiveNamesOnlyWildcards(iri, u"*"); },
};

void listingWhatIsNoFolder(CheckContext& context) {
    createFiles(context, {u"f"});
    for (const std::u16string_view path : {u"missing", u"missing/d", u"f", u"f/d"}) {
        for (const ListOperation list : derivedListings) {
            expectRefusal(
                context, [&] { list(context.provider(), context.at(path)); }, ErrorCode::NotFound,
                context.at(path), "listing a file or a missing folder by pattern, by names or recursively");
        }
    }
}

void derivedListingsAreSnapshots(CheckContext& context) {
    const IProvider& provider = context.provider();
    for (const bool recursive : {false, true}) {
        createFolders(context, {u"s"});
        createFiles(context, {u"s/a", u"s/b", u"s/c"});
        const Listing listing =
            requireNonNull(recursive ? provider.doListAllRecursiveWildcards(context.at(u"s"), u"*")
                                     : provider.doListFilesWildcards(context.at(u"s"), u"*"),
                           "listing");
        listing->step();
        const Names first{listing->getEntry().getName()};
        const Listing clone = requireNonNull(listing->clone(), "clone of a listing");
        provider.doRemoveFile(context.at(u"s/b"));
        createFiles(context, {u"s/d"});
        const Names rest = markedNames(*listing);
        expect(markedNames(*clone) == rest,
               "a clone of a listing does not yield the remaining entries of the listing");
        Names all = first;
        all.insert(all.end(), rest.begin(), rest.end());
        expectNames(all, {u"a", u"b", u"c"}, "a listing by pattern, made before its folder changed,");
        provider.doRemoveFolderRecursively(context.at(u"s"));
    }
}

// Copying

using CopyOperation = void (*)(const IProvider&, const StorageIRI&, const StorageIRI&, ReplacementPolicy);

constexpr std::array<CopyOperation, 3> copyOperations{
    [](const IProvider& p, const StorageIRI& from, const StorageIRI& to, ReplacementPolicy policy) {
        p.doCopyFile(from, to, policy);
    },
    [](const IProvider& p, const StorageIRI& from, const StorageIRI& to, ReplacementPolicy policy) {
        p.doCopyFileAtomic(from, to, policy, [](unsigned long long) {});
    },
    [](const IProvider& p, const StorageIRI& from, const StorageIRI& to, ReplacementPolicy policy) {
        p.doCopyFileAtomic(from, to, policy, {});
    },
};

/// Creates a folder "a" with the file "a/f", and a folder "b".
void makeSource(CheckContext& context) {
    createFolders(context, {u"a", u"b"});
    createFiles(context, {u"a/f"});
}

/// Expects that copying fails and changes nothing, except the times of folders that contained a temporary
/// file.
void expectCopyRefused(CheckContext& context, std::u16string_view source, std::u16string_view destination,
                       ReplacementPolicy policy, ErrorCode code, std::u16string_view location,
                       std::string_view operation) {
    const IProvider& provider = context.provider();
    for (const CopyOperation copy : copyOperations) {
        const std::string before = describeTree(provider, context.at(u""), TimesShown::None);
        expectFailure([&] { copy(provider, context.at(source), context.at(destination), policy); }, code,
                      context.at(location), operation);
        expect(describeTree(provider, context.at(u""), TimesShown::None) == before,
               fmt::format("{} fails, but changes the storage or leaves something behind", operation));
    }
}

void copyHasBytesOfItsOwn(CheckContext& context) {
    makeSource(context);
    const IProvider& provider = context.provider();
    for (const CopyOperation copy : copyOperations) {
        for (const ReplacementPolicy policy : policies::all) {
            copy(provider, context.at(u"a/f"), context.at(u"b/g"), policy);
            expect(contentOf(provider, context.at(u"b/g")) == "bytes",
                   "a copy has other bytes than its source");
            writeText(*openStream(provider, context.at(u"b/g")), "BY");
            expect(contentOf(provider, context.at(u"a/f")) == "bytes",
                   "writing to a copy changes its source");
            writeText(*openToAppend(provider, context.at(u"a/f")), "!");
            expect(contentOf(provider, context.at(u"b/g")) == "BYtes",
                   "writing to a source changes its copy");
            provider.doRemoveFile(context.at(u"b/g"));
            provider.doTruncateToSize(context.at(u"a/f"), 5);
        }
    }
    expectNames(provider.doListAllNamesOnly(context.at(u"b")), {},
                "after copies were removed, listing the rest");
}

void largeCopyIsWhole(CheckContext& context) {
    std::string bytes(300'001, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(context.random()()); });
    makeFile(context.provider(), context.at(u"f"), bytes);
    context.provider().doCopyFile(context.at(u"f"), context.at(u"g"), policies::refuse);
    expect(contentOf(context.provider(), context.at(u"g")) == bytes, "a copy of 300001 bytes differs");
}

/// The current time of the storage, whatever clock it has.
boost::posix_time::ptime timeOfNewFile(CheckContext& context) {
    const StorageIRI file = context.at(u"new");
    context.provider().doCreateFile(file);
    const auto time = context.provider().doGetFileAttributes(file).getLastModified();
    context.provider().doRemoveFile(file);
    return time;
}

void copyIsWritableAndNew(CheckContext& context) {
    const auto resolution = boost::posix_time::seconds(2);
    makeSource(context);
    const IProvider& provider = context.provider();
    provider.doSetLastModified(context.at(u"a/f"), pastTime());
    const auto before = provider.doGetFileAttributes(context.at(u"a/f")).getLastModified();
    const WriteProtection protection(provider, context.at(u"a/f"));
    for (const CopyOperation copy : copyOperations) {
        const auto earliest = timeOfNewFile(context) - resolution;
        copy(provider, context.at(u"a/f"), context.at(u"b/g"), policies::replace);
        const auto latest = timeOfNewFile(context) + resolution;
        const FileAttributes attributes = provider.doGetFileAttributes(context.at(u"b/g"));
        expect(attributes.isWritable(), "a copy of a read-only file is read-only");
        expect(earliest <= attributes.getLastModified() && attributes.getLastModified() <= latest,
               "a copy does not have the current time");
    }
    expect(provider.doGetFileAttributes(context.at(u"a/f")).getLastModified() == before,
           "copying a file changes its time");
}

void copyingWhatIsMissing(CheckContext& context) {
    makeSource(context);
    expectCopyRefused(context, u"a/missing", u"b/g", policies::replace, ErrorCode::NotFound, u"a/missing",
                      "copying a missing file");
    expectCopyRefused(context, u"a/missing", u"a/f", policies::replace, ErrorCode::NotFound, u"a/missing",
                      "copying a missing file onto a file");
    expectCopyRefused(context, u"a/f", u"missing/g", policies::replace, ErrorCode::NotFound, u"a/f",
                      "copying a file into a missing folder");
}

void copyingOntoAFile(CheckContext& context) {
    makeSource(context);
    const IProvider& provider = context.provider();
    makeFile(provider, context.at(u"b/g"), "longer than the source");
    for (const ReplacementPolicy policy : {policies::refuse, policies::refuseFile}) {
        expectCopyRefused(context, u"a/f", u"b/g", policy, ErrorCode::AlreadyExists, u"b/g",
                          "copying onto a file under a policy that refuses existing files");
    }
    for (const CopyOperation copy : copyOperations) {
        for (const ReplacementPolicy policy :
             {policies::replace, policies::unnamed(2), policies::unnamed(-1)}) {
            writeText(*openToAppend(provider, context.at(u"b/g")), "longer than the source");
            copy(provider, context.at(u"a/f"), context.at(u"b/g"), policy);
            expect(contentOf(provider, context.at(u"b/g")) == "bytes",
                   "a copy that replaces a file has other bytes");
        }
    }
}

void copyingOntoAFolder(CheckContext& context) {
    makeSource(context);
    for (const ReplacementPolicy policy : policies::all) {
        expectCopyRefused(context, u"a/f", u"b", policy, ErrorCode::AlreadyExists, u"b",
                          "copying onto a folder");
    }
}

void copyingOntoItself(CheckContext& context) {
    makeSource(context);
    const IProvider& provider = context.provider();
    for (const CopyOperation copy : copyOperations) {
        copy(provider, context.at(u"a/f"), context.at(u"a/f"), policies::replace);
        expect(contentOf(provider, context.at(u"a/f")) == "bytes",
               "copying a file onto itself changes its bytes");
    }
    expectNames(provider.doListAllNamesOnly(context.at(u"a")), {u"f"}, "after copying onto itself, listing");
    expectCopyRefused(context, u"a/f", u"a/f", policies::refuse, ErrorCode::AlreadyExists, u"a/f",
                      "copying a file onto itself under a policy that refuses existing files");
}

void copyingOntoWhatIsReadOnly(CheckContext& context) {
    makeSource(context);
    const IProvider& provider = context.provider();
    makeFile(provider, context.at(u"b/g"), "kept");
    makeFile(provider, context.at(u"b/empty"), "");
    const WriteProtection file(provider, context.at(u"b/g"));
    const WriteProtection emptyFile(provider, context.at(u"b/empty"));
    for (const std::u16string_view destination : {u"b/g", u"b/empty"}) {
        expectCopyRefused(context, u"a/f", destination, policies::replace, ErrorCode::ReadOnly, u"a/f",
                          "copying onto a read-only file");
    }
    const WriteProtection folder(provider, context.at(u"b"));
    expectCopyRefused(context, u"a/f", u"b/h", policies::replace, ErrorCode::ReadOnly, u"a/f",
                      "copying into a read-only folder");
}

void copyingAFolder(CheckContext& context) {
    makeSource(context);
    expectCopyRefused(context, u"a", u"b/g", policies::replace, ErrorCode::NotFound, u"a",
                      "copying a folder as a file");
}

void copyReportsItsProgress(CheckContext& context) {
    const IProvider& provider = context.provider();
    makeFile(provider, context.at(u"f"), std::string(200'000, 'x'));
    unsigned long long last = 0;
    provider.doCopyFileAtomic(context.at(u"f"), context.at(u"g"), policies::refuse,
                              [&last](unsigned long long copied) {
                                  expect(copied > last && copied <= 200'000,
                                         "the progress of a copy does not increase or exceeds its size");
                                  last = copied;
                              });
    expect(last == 200'000, fmt::format("the last progress of a copy of 200000 bytes is {}", last));
}

/// Throws an object from the progress function and expects to catch it.
template <class Thrown>
void expectCopyEnded(CheckContext& context, std::u16string_view destination, const Thrown& thrown) {
    const IProvider& provider = context.provider();
    const std::string before = describeTree(provider, context.at(u""), TimesShown::None);
    int calls = 0;
    try {
        provider.doCopyFileAtomic(context.at(u"f"), context.at(destination), policies::replace,
                                  [&](unsigned long long) {
                                      ++calls;
                                      throw thrown;
                                  });
        expect(false, "a copy succeeds although the progress function threw");
    } catch (const Thrown&) {
    }
    expect(calls == 1, "a copy continues after the progress function threw");
    expect(describeTree(provider, context.at(u""), TimesShown::None) == before,
           "a cancelled copy changes its destination or leaves an entry behind");
}

void throwingEndsTheCopy(CheckContext& context) {
    struct Enough {};
    makeFile(context.provider(), context.at(u"f"), std::string(70'000, 'x'));
    makeFile(context.provider(), context.at(u"g"), "kept");
    for (const std::u16string_view destination : {u"g", u"h"}) {
        expectCopyEnded(context, destination, Enough());
        expectCopyEnded(context, destination, std::logic_error("enough"));
        expectCopyEnded(context, destination, Exception(ErrorCode::NotFound, context.at(u"elsewhere")));
    }
}

// Existence of entries

void existenceAgrees(CheckContext& context) {
    makeSource(context);
    const IProvider& provider = context.provider();
    using enum EntryExistence;
    const std::array<std::pair<StorageIRI, EntryExistence>, 6> places{{{context.at(u"a/f"), File},
                                                                       {context.at(u"a"), Folder},
                                                                       {context.at(u"a/missing"), Missing},
                                                                       {context.at(u"missing/f"), Missing},
                                                                       {context.at(u"a/f/below"), Missing},
                                                                       {StorageIRI(u"/"), Folder}}};
    for (const auto& [place, existence] : places) {
        const std::string path = printable(place.getPath());
        expect(provider.doExistsExtended(place) == existence, "doExistsExtended is wrong for " + path);
        expect(provider.doExists(place) == (existence != Missing), "doExists is wrong for " + path);
    }
}

void extendedAttributesAgree(CheckContext& context) {
    makeSource(context);
    const IProvider& provider = context.provider();
    provider.doSetLastModified(context.at(u"a/f"), pastTime());
    provider.doSetLastModified(context.at(u"a"), pastTime() + boost::posix_time::hours(1));
    const WriteProtection protection(provider, context.at(u"a/f"));
    const ExtendedAttributes file = provider.doGetExtendedAttributes(context.at(u"a/f"));
    expect(file.type == FolderEntry::EntryType::File && file.size == 5 && !file.writable &&
               file.lastModified == provider.doGetFileAttributes(context.at(u"a/f")).getLastModified(),
           "the extended attributes of a file are not its attributes");
    const ExtendedAttributes folder = provider.doGetExtendedAttributes(context.at(u"a"));
    expect(folder.type == FolderEntry::EntryType::Folder && folder.size == 0 && folder.writable &&
               folder.lastModified == provider.doGetFolderAttributes(context.at(u"a")).getLastModified(),
           "the extended attributes of a folder are not its attributes");
    for (const std::u16string_view path : {u"missing", u"missing/f", u"a/f/below"}) {
        expectRefusal(
            context, [&] { provider.doGetExtendedAttributes(context.at(path)); }, ErrorCode::NotFound,
            context.at(path), "asking for the extended attributes of a missing entry");
    }
}

// Truncating

void truncatingGivesTheSize(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI file = context.at(u"f");
    makeFile(provider, file, "0123456789");
    const std::string zeros(200'000, '\0');
    const std::array<std::pair<unsigned long long, std::string>, 6> steps{{{10, "0123456789"},
                                                                           {4, "0123"},
                                                                           {7, "0123" + zeros.substr(0, 3)},
                                                                           {200'004, "0123" + zeros},
                                                                           {0, ""},
                                                                           {0, ""}}};
    for (const auto& [size, content] : steps) {
        provider.doTruncateToSize(file, size);
        expect(provider.doGetFileAttributes(file).getSize() == size && contentOf(provider, file) == content,
               fmt::format("a file truncated to {} bytes does not consist of its first bytes, then zeros",
                           size));
    }
}

void truncatingIsSeenByStreams(CheckContext& context) {
    const IProvider& provider = context.provider();
    makeFile(provider, context.at(u"f"), "0123456789");
    const auto stream = openStream(provider, context.at(u"f"));
    provider.doTruncateToSize(context.at(u"f"), 4);
    expect(seekTo(*stream, 0, std::ios_base::end) == 4,
           "an open stream does not see that its file was truncated");
    provider.doTruncateToSize(context.at(u"f"), 6);
    expect(readRest(*stream) == std::string(2, '\0'), "an open stream does not see that its file has grown");
    writeText(*stream, "x");
    expect(contentOf(provider, context.at(u"f")) == std::string("0123\0\0x", 7),
           "a write of an open stream after a truncation is lost");
}

void truncatingWhatIsNoFile(CheckContext& context) {
    makeSource(context);
    for (const std::u16string_view path : {u"missing", u"missing/f", u"a"}) {
        for (const unsigned long long size : {0U, 3U}) {
            expectRefusal(
                context, [&] { context.provider().doTruncateToSize(context.at(path), size); },
                ErrorCode::NotFound, context.at(path), "truncating a folder or a missing file");
        }
    }
}

void truncatingWhatIsReadOnly(CheckContext& context) {
    makeSource(context);
    const WriteProtection protection(context.provider(), context.at(u"a/f"));
    for (const unsigned long long size : {0U, 3U, 5U, 8U}) { // it has 5 bytes
        expectRefusal(
            context, [&] { context.provider().doTruncateToSize(context.at(u"a/f"), size); },
            ErrorCode::ReadOnly, context.at(u"a/f"), "truncating a read-only file");
    }
}

void truncatingBeyondAllSizes(CheckContext& context) {
    makeSource(context);
    const std::string before = describeTree(context.provider(), context.at(u""));
    for (const unsigned long long size : {1ULL << 63U, std::numeric_limits<unsigned long long>::max()}) {
        try {
            context.provider().doTruncateToSize(context.at(u"a/f"), size);
            expect(false, "truncating a file to more bytes than a long can hold succeeds");
        } catch (const std::length_error&) {
        }
    }
    expect(describeTree(context.provider(), context.at(u"")) == before,
           "truncating a file to more bytes than a long can hold changes something");
}

// Optional features

struct OptionalOperation {
    const char* name;
    void (*run)(const IProvider& provider, const StorageIRI& iri);
};

/// The second location, for operations that have two.
StorageIRI elsewhere() {
    return StorageIRI(u"/elsewhere");
}

void ignoreEvent(StorageEventKind, const StorageIRI&, const StorageIRI&, FolderEntry::EntryType,
                 const boost::property_tree::ptree&) {}

constexpr std::array<OptionalOperation, 8> optionalOperations{{
    {"doOpenTransactionalStream",
     [](const IProvider& p, const StorageIRI& iri) { p.doOpenTransactionalStream(iri, {}); }},
    {"doOpenTransactionalStreamAtScratchLocation",
     [](const IProvider& p, const StorageIRI& iri) {
         p.doOpenTransactionalStreamAtScratchLocation(iri, elsewhere(), {});
     }},
    {"doPublishFolderEventsFor",
     [](const IProvider& p, const StorageIRI& iri) { p.doPublishFolderEventsFor(iri, ignoreEvent); }},
    {"doPublishFileEventsFor",
     [](const IProvider& p, const StorageIRI& iri) { p.doPublishFileEventsFor(iri, ignoreEvent); }},
    {"doStopPublishingEventsFor",
     [](const IProvider& p, const StorageIRI& iri) { p.doStopPublishingEventsFor(iri); }},
    {"doStartChangePollingMechanism",
     [](const IProvider& p, const StorageIRI& iri) { p.doStartChangePollingMechanism(iri, ignoreEvent); }},
    {"doStopChangePollingMechanism",
     [](const IProvider& p, const StorageIRI& iri) { p.doStopChangePollingMechanism(iri); }},
    {"doGetProviderStorageInfo",
     [](const IProvider& p, const StorageIRI& iri) { p.doGetProviderStorageInfo(iri); }},
}};

void refusalNamesTheLocation(CheckContext& context) {
    makeSource(context);
    for (const OptionalOperation& operation : optionalOperations) {
        try {
            operation.run(context.provider(), context.at(u"a/f"));
        } catch (const Exception& failure) {
            expect(failure.getErrorCode() != ErrorCode::NotOffered || failure.getIRI() == context.at(u"a/f"),
                   fmt::format("{} fails with NotOffered, but names another location", operation.name));
        }
    }
}

void nothingOptionalIsOffered(CheckContext& context) {
    makeSource(context);
    for (const OptionalOperation& operation : optionalOperations) {
        for (const std::u16string_view path : {u"a/f", u"a", u"missing"}) {
            expectRefusal(
                context, [&] { operation.run(context.provider(), context.at(path)); }, ErrorCode::NotOffered,
                context.at(path), operation.name);
        }
    }
}

void availableIsWithinCapacity(CheckContext& context) {
    try {
        const ProviderStorageInfo info = context.provider().doGetProviderStorageInfo(context.at(u""));
        expect(info.available <= info.capacity, "a storage has more bytes available than its capacity");
    } catch (const Exception& failure) {
        expect(failure.getErrorCode() == ErrorCode::NotOffered,
               "a storage without a capacity does not fail with NotOffered");
    }
}

// Paths

const Names& samplePaths() {
    static const Names paths{u"",     u"/",    u"/a",         u"/A",         u"/a/b",    u"/a-b",
                             u"/a0",  u"/ab",  u"/\u00E4",    u"/\uE000",    u"/\uFFFD", u"/\U0001F600",
                             u"/a//", u"/b/a", u"/a/b/c/d/e", u"/\U0001F601"};
    return paths;
}

void pathsHaveAnOrder(CheckContext& context) {
    const auto before = context.provider().doGetPathComparator(context.at(u""));
    expect(static_cast<bool>(before), "the comparator of paths is empty");
    const Names& paths = samplePaths();
    for (const std::u16string& a : paths) {
        expect(!before(a, a), "a path comes before itself");
        for (const std::u16string& b : paths) {
            expect(!(before(a, b) && before(b, a)), "two paths each come before the other");
            for (const std::u16string& c : paths) {
                expect(!(before(a, b) && before(b, c)) || before(a, c),
                       "the order of paths is not transitive");
            }
        }
    }
}

void pathsAreOrderedByCodeUnits(CheckContext& context) {
    const auto before = context.provider().doGetPathComparator(context.at(u""));
    for (const std::u16string& a : samplePaths()) {
        for (const std::u16string& b : samplePaths()) {
            expect(before(a, b) == (a < b), fmt::format("{} and {} are not in the order of UTF-16 code units",
                                                        printable(a), printable(b)));
        }
    }
}

/// Names that a storage may treat as equal, or refuse.
constexpr std::array similarNames{u"n",   u" n",  u"n ",      u"n  ",    u".n",  u"n.",    u"n..",
                                  u"n .", u"n.n", u"n n",     u"n  n",   u"...", u".",     u"..",
                                  u"N",   u"%6E", u"e\u0301", u"\u00E9", u"n;v", u"~n",    u"n+n",
                                  u"\\n", u"n:",  u"n*",      u"n?",     u"n#n", u"n%20n", u"n\tn"};

/// Creates folders with files that contain the folder's name. Expects that the canonical location of each
/// file leads to it.
void canonicalLocationKeepsNamesApart(CheckContext& context) {
    const IProvider& provider = context.provider();
    createFolders(context, {u"names"});
    std::vector<std::u16string> paths;
    for (const char16_t* const name : similarNames) {
        try {
            const std::u16string folder = std::u16string(u"names/") + name;
            provider.doCreateFolder(context.at(folder));
            makeFile(provider, context.at(folder + u"/f"), printable(name));
            makeFile(provider, context.at(folder + u"/" + name), printable(name));
            paths.insert(paths.end(), {folder + u"/f", folder + u"/" + name});
        } catch (const Exception&) { // refused, or equal to an earlier name; other rules check that
        }
    }
    for (const std::u16string& path : paths) {
        const StorageIRI canonical = provider.doGetCanonicalLocation(context.at(path));
        expect(provider.doFileExists(canonical) &&
                   contentOf(provider, canonical) == contentOf(provider, context.at(path)),
               fmt::format("the canonical location of {} is that of another entry", printable(path)));
        expect(provider.doGetCanonicalLocation(canonical) == canonical,
               fmt::format("the canonical location of {} has another canonical location", printable(path)));
    }
}

void canonicalLocationNamesTheSame(CheckContext& context) {
    makeSource(context);
    const IProvider& provider = context.provider();
    for (const std::u16string_view path : {u"", u"a", u"a/f", u"missing"}) {
        const StorageIRI canonical = provider.doGetCanonicalLocation(context.at(path));
        expect(provider.doExistsExtended(canonical) == provider.doExistsExtended(context.at(path)),
               "the canonical location is that of another entry");
        expect(provider.doGetCanonicalLocation(canonical) == canonical,
               "the canonical location of a canonical location differs from it");
    }
    canonicalLocationKeepsNamesApart(context);
}

void canonicalLocationIsTheResolvedPath(CheckContext& context) {
    const IProvider& provider = context.provider();
    const auto expectCanonical = [&](const StorageIRI& iri, const std::u16string& path) {
        expect(
            provider.doGetCanonicalLocation(iri) == StorageIRI(path),
            fmt::format("the canonical location of {} is not {}", printable(iri.getPath()), printable(path)));
    };
    expectCanonical(StorageIRI(u"/real/f", u"/alias/f", true), u"/real/f");
    expectCanonical(StorageIRI(u"//a//b/"), u"/a//b");
    expectCanonical(StorageIRI(u""), u"/");
    expectCanonical(StorageIRI(u"///"), u"/");
    expectCanonical(StorageIRI(u"/", u"/mounted", true), u"/");
}

void shutdownIsQuiet(CheckContext& context) {
    const auto provider = context.library().buildProvider();
    provider->doFolderExists(StorageIRI(u"/"));
    provider->doShutdown();
}

constexpr std::array table{
    Check{"12.1", "derived.create-folder-recursive",
          "doCreateFolderRecursive creates a folder and every missing folder above it.", Profile::AnyProvider,
          createsEveryMissingFolder},
    Check{"12.2", "derived.create-existing-recursive",
          "doCreateFolderRecursive of an existing folder succeeds and changes nothing.", Profile::AnyProvider,
          creatingAnExistingFolderChangesNothing},
    Check{"12.3", "derived.create-recursive-file-in-the-way",
          "If a file is on its path, doCreateFolderRecursive fails with AlreadyExists naming that file.",
          Profile::AnyProvider, fileInTheWayOfFolders},
    Check{"12.4", "derived.create-recursive-read-only",
          "Any other failure of doCreateFolderRecursive names the folder that could not be created.",
          Profile::AnyProvider, folderThatCannotBeMadeIsNamed},
    Check{"12.5", "derived.remove-recursively",
          "doRemoveFolderRecursively removes a folder and everything below it, and nothing else.",
          Profile::AnyProvider, removesEverythingBelow},
    Check{"12.6", "derived.remove-recursively-missing",
          "doRemoveFolderRecursively of a missing folder or of a file fails with NotFound naming it.",
          Profile::AnyProvider, removingWhatIsNoFolder},
    Check{"12.7", "derived.remove-recursively-read-only",
          "A failure of doRemoveFolderRecursively names the entry that could not be removed, which stays.",
          Profile::AnyProvider, entryThatCannotBeRemovedIsNamed},
    Check{"12.8", "derived.remove-root-recursively",
          "doRemoveFolderRecursively of the root empties it; the root stays.", Profile::InMemoryProvider,
          rootIsOnlyEmptied},
    Check{"12.9", "derived.wildcards",
          "A pattern selects entries by name: * matches any number of characters, ? matches exactly one.",
          Profile::AnyProvider, patternsChooseByName},
    Check{"12.10", "derived.wildcards-names-only", "Patterns select names in lists of names in the same way.",
          Profile::AnyProvider, patternsChooseNamesOnly},
    Check{"12.11", "derived.names-only", "A list of names has the names of the corresponding listing.",
          Profile::AnyProvider, namesOnlyAgree},
    Check{"12.12", "derived.recursive-listing",
          "A recursive listing yields everything below the folder, by relative path and with its kind.",
          Profile::AnyProvider, recursiveListingNamesPaths},
    Check{"12.13", "derived.recursive-order", "A recursive listing yields each folder before its content.",
          Profile::AnyProvider, foldersComeBeforeWhatTheyHold},
    Check{"12.14", "derived.recursive-wildcards",
          "The pattern of a recursive listing selects what is yielded, not which folders are entered.",
          Profile::AnyProvider, patternsDoNotKeepFoldersOut},
    Check{"12.15", "derived.recursive-names-only",
          "A recursive list of names has the paths of the recursive listing, also by pattern.",
          Profile::AnyProvider, recursiveNamesOnlyAgree},
    Check{"12.16", "derived.listing-no-folder",
          "Every listing of a missing folder or of a file fails with NotFound naming it.",
          Profile::AnyProvider, listingWhatIsNoFolder},
    Check{"12.17", "derived.listings-are-snapshots",
          "Listings by pattern and recursive listings are snapshots; a clone yields the remaining entries.",
          Profile::AnyProvider, derivedListingsAreSnapshots},
    Check{"12.18", "derived.copy", "A copy is an independent file with the bytes of the source.",
          Profile::AnyProvider, copyHasBytesOfItsOwn},
    Check{"12.19", "derived.copy-large", "Several hundred kB are copied completely.", Profile::AnyProvider,
          largeCopyIsWhole},
    Check{"12.20", "derived.copy-attributes",
          "A copy is writable and has the current time; its source is unchanged.", Profile::AnyProvider,
          copyIsWritableAndNew},
    Check{"12.21", "derived.copy-missing",
          "Copying a missing file, or into a missing folder, fails with NotFound naming the source.",
          Profile::AnyProvider, copyingWhatIsMissing},
    Check{"12.22", "derived.copy-onto-file",
          "A copy refuses or replaces an existing file as its policy says.", Profile::AnyProvider,
          copyingOntoAFile},
    Check{"12.23", "derived.copy-onto-folder",
          "Under every policy, copying onto a folder fails with AlreadyExists naming the destination.",
          Profile::AnyProvider, copyingOntoAFolder},
    Check{"12.24", "derived.copy-onto-itself",
          "Copying a file onto itself keeps its bytes, or is refused as the policy says.",
          Profile::AnyProvider, copyingOntoItself},
    Check{"12.25", "derived.copy-read-only",
          "Copying onto a read-only file, or into a read-only folder, fails with ReadOnly naming the source.",
          Profile::AnyProvider, copyingOntoWhatIsReadOnly},
    Check{"12.26", "derived.copy-folder",
          "Copying a folder with doCopyFile fails with NotFound naming the source.",
          Profile::InMemoryProvider, copyingAFolder},
    Check{
        "12.27", "derived.copy-progress",
        "doCopyFileAtomic reports the number of bytes copied so far, which increases up to the file's size.",
        Profile::AnyProvider, copyReportsItsProgress},
    Check{"12.28", "derived.copy-ended",
          "An exception that the progress function throws ends the copy; the destination is unchanged.",
          Profile::AnyProvider, throwingEndsTheCopy},
    Check{"12.29", "derived.exists",
          "doExists and doExistsExtended report the kind of the entry at a location.", Profile::AnyProvider,
          existenceAgrees},
    Check{"12.30", "derived.extended-attributes",
          "Extended attributes are those of the file or folder; a missing entry fails with NotFound.",
          Profile::AnyProvider, extendedAttributesAgree},
    Check{"12.31", "derived.truncate", "doTruncateToSize keeps the first bytes of a file and appends zeros.",
          Profile::AnyProvider, truncatingGivesTheSize},
    Check{"12.32", "derived.truncate-is-seen", "Open streams see what doTruncateToSize does to their file.",
          Profile::AnyProvider, truncatingIsSeenByStreams},
    Check{"12.33", "derived.truncate-missing",
          "doTruncateToSize of a missing file or of a folder fails with NotFound naming it.",
          Profile::AnyProvider, truncatingWhatIsNoFile},
    Check{"12.34", "derived.truncate-read-only",
          "doTruncateToSize of a read-only file fails with ReadOnly naming it.", Profile::AnyProvider,
          truncatingWhatIsReadOnly},
    Check{
        "12.35", "derived.truncate-too-far",
        "doTruncateToSize to more than a long can hold fails with std::length_error; the file is unchanged.",
        Profile::AnyProvider, truncatingBeyondAllSizes},
    Check{"12.36", "derived.not-offered", "NotOffered names the first location of the operation.",
          Profile::AnyProvider, refusalNamesTheLocation},
    Check{"12.37", "derived.nothing-optional",
          "Transactional streams, events, polling and capacity are NotOffered, whatever the location.",
          Profile::InMemoryProvider, nothingOptionalIsOffered},
    Check{"12.38", "derived.storage-info",
          "A storage reports at most its capacity as available, or fails with NotOffered.",
          Profile::AnyProvider, availableIsWithinCapacity},
    Check{"12.39", "derived.path-order", "The comparator of paths is a strict order.", Profile::AnyProvider,
          pathsHaveAnOrder},
    Check{"12.40", "derived.path-order-by-code-units", "Paths are ordered by their UTF-16 code units.",
          Profile::InMemoryProvider, pathsAreOrderedByCodeUnits},
    Check{"12.41", "derived.canonical-location",
          "The canonical location names the same entry and is its own canonical location.",
          Profile::AnyProvider, canonicalLocationNamesTheSame},
    Check{"12.42", "derived.canonical-is-resolved",
          "The canonical location is the shortest form of the resolved path, and / for the root.",
          Profile::InMemoryProvider, canonicalLocationIsTheResolvedPath},
    Check{"12.43", "derived.shutdown", "doShutdown after the last operation does not fail.",
          Profile::AnyProvider, shutdownIsQuiet},
    Check{"12.44", "derived.recursive-root",
          "A recursive listing of the root yields every entry below it once, by its path.",
          Profile::AnyProvider, recursiveListingOfTheRoot},
};

} // namespace
} // namespace derived_operation_checks

std::span<const Check> derivedOperations() {
    return derived_operation_checks::table;
}

} // namespace storage::host::checks
