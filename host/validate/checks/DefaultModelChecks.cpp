#include "host/support/Utf.h"
#include "host/validate/checks/CheckCatalogue.h"
#include "host/validate/checks/RandomTree.h"
#include "host/validate/kit/CheckContext.h"
#include "host/validate/kit/Expectations.h"
#include "host/validate/kit/StreamSteps.h"
#include "host/validate/kit/WriteProtection.h"
#include "hostapi/storage/provider/ListingRange.h"
#include "hostapi/storage/provider/RequireNonNull.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>
#include <array>
#include <boost/property_tree/ptree.hpp>
#include <condition_variable>
#include <fmt/format.h>
#include <mutex>
#include <vector>

namespace storage::host::checks {

using namespace provider;

namespace default_model_checks {
namespace {

using Names = std::vector<std::u16string>;
using Type = FolderEntry::EntryType;

/// An entry of the model. A value.
struct ModelEntry {
    std::u16string path; ///< relative to the listed folder
    Type type;
};

using Model = std::vector<ModelEntry>;

/// Adds everything below a folder. Calls only required operations, so no default implementation is involved.
void addBelow(const IProvider& provider, const StorageIRI& folder, const std::u16string& prefix,
              Model& model) {
    for (const FolderEntry& entry : readEntries(provider.doListFiles(folder))) {
        model.push_back({prefix + entry.getName(), Type::File});
    }
    for (const FolderEntry& entry : readEntries(provider.doListFolders(folder))) {
        const std::u16string path = prefix + entry.getName();
        model.push_back({path, Type::Folder});
        addBelow(provider, StorageIRI(folder.getPath() + u"/" + entry.getName()), path + u"/", model);
    }
}

Model modelOf(const IProvider& provider, const StorageIRI& folder) {
    Model model;
    addBelow(provider, folder, u"", model);
    return model;
}

/// The number of code units of the first character: 2 for a surrogate pair.
std::size_t lengthOfFirst(std::u16string_view name) {
    const auto isIn = [&](std::size_t at, char16_t first) {
        return at < name.size() && name[at] >= first && name[at] < first + 0x400;
    };
    return isIn(0, 0xD800) && isIn(1, 0xDC00) ? 2 : 1;
}

/// Reference implementation: "*" matches any characters, "?" matches one, all others match themselves.
bool matchesPlainly(std::u16string_view pattern, std::u16string_view name) {
    if (pattern.empty()) {
        return name.empty();
    }
    if (pattern.front() == u'*') {
        return matchesPlainly(pattern.substr(1), name) ||
               (!name.empty() && matchesPlainly(pattern, name.substr(1)));
    }
    if (pattern.front() == u'?' && !name.empty()) {
        return matchesPlainly(pattern.substr(1), name.substr(lengthOfFirst(name)));
    }
    return !name.empty() && pattern.front() == name.front() &&
           matchesPlainly(pattern.substr(1), name.substr(1));
}

Names sorted(Names names) {
    std::sort(names.begin(), names.end());
    return names;
}

/// The sorted paths of the entries that pass the filter, with a name that matches the pattern.
template <class Filter>
Names pathsIn(const Model& model, std::u16string_view pattern, const Filter& filter) {
    Names paths;
    for (const ModelEntry& entry : model) {
        const std::u16string name = entry.path.substr(entry.path.rfind(u'/') + 1);
        if (filter(entry.type) && matchesPlainly(pattern, name)) {
            paths.push_back(entry.path);
        }
    }
    return sorted(std::move(paths));
}

Names namesOf(std::unique_ptr<IFolderEntryIterator> listing) {
    Names names;
    for (const FolderEntry& entry : readEntries(std::move(listing))) {
        names.push_back(entry.getName());
    }
    return names;
}

void expectSame(Names seen, const Names& expected, const char* operation, std::u16string_view pattern) {
    expect(sorted(std::move(seen)) == expected,
           fmt::format("{} by the pattern \"{}\" yields other names than those that match", operation,
                       printable(pattern)));
}

/// The letters of random names. Includes an upper-case letter only if names are case-sensitive.
std::u16string lettersFor(CheckContext& context) {
    return context.provider().doGetFilenameSensitivity(context.at(u"")) == FilenameSensitivity::CaseSensitive
               ? u"ab.[]-A"
               : u"ab.[]-";
}

std::u16string randomWord(CheckContext& context, std::u16string_view letters, std::size_t longest) {
    std::u16string word(context.random()() % (longest + 1), u'\0');
    for (char16_t& letter : word) {
        letter = letters[context.random()() % letters.size()];
    }
    return word;
}

/// Creates an entry. Ignores a name that the storage refuses or already has.
void tryToMake(CheckContext& context, const std::u16string& path, bool folder) {
    try {
        folder ? context.provider().doCreateFolder(context.at(path))
               : context.provider().doCreateFile(context.at(path));
    } catch (const Exception&) { // other random names are enough
    }
}

constexpr auto ofAnyKind = [](Type) { return true; };
constexpr auto ofFiles = [](Type type) { return type == Type::File; };
constexpr auto ofFolders = [](Type type) { return type == Type::Folder; };

/// Expects that all listings by `pattern` yield what the model yields for `shortest`, an equivalent pattern.
void expectSelected(const IProvider& provider, const StorageIRI& folder, const Model& model,
                    const std::u16string& pattern, std::u16string_view shortest) {
    const Names every = pathsIn(model, shortest, ofAnyKind);
    const Names fileNames = pathsIn(model, shortest, ofFiles);
    const Names folderNames = pathsIn(model, shortest, ofFolders);
    expectSame(namesOf(provider.doListAllWildcards(folder, pattern)), every, "doListAllWildcards", pattern);
    expectSame(namesOf(provider.doListFilesWildcards(folder, pattern)), fileNames, "doListFilesWildcards",
               pattern);
    expectSame(namesOf(provider.doListFoldersWildcards(folder, pattern)), folderNames,
               "doListFoldersWildcards", pattern);
    expectSame(provider.doListAllNamesOnlyWildcards(folder, pattern), every, "doListAllNamesOnlyWildcards",
               pattern);
    expectSame(provider.doListFilesNamesOnlyWildcards(folder, pattern), fileNames,
               "doListFilesNamesOnlyWildcards", pattern);
    expectSame(provider.doListFoldersNamesOnlyWildcards(folder, pattern), folderNames,
               "doListFoldersNamesOnlyWildcards", pattern);
}

void patternsAgreeWithModel(CheckContext& context) {
    const IProvider& provider = context.provider();
    const std::u16string letters = lettersFor(context);
    for (int i = 0; i < 30; ++i) {
        tryToMake(context, std::u16string(u"x").append(randomWord(context, letters, 4)).append(u"y"),
                  i % 3 == 0);
    }
    for (const char16_t* name :
         {u"a",   u"x",  u"xx",  u"ab",  u".x",  u".xy.z",       u"x1",           u"x1y",
          u"x.b", u"x+", u"x+y", u"x#",  u"x\\", u"x;y",         u"{x,y}",        u"!x",
          u"(x)", u"^x", u"x$",  u"x|y", u"x~",  u"x\U0001F600", u"x\U0001F600y", u"\U0001F600"}) {
        tryToMake(context, name, false);
    }
    for (const char16_t* name : {u"case", u"Case", u"CASE"}) {
        tryToMake(context, std::u16string(name) + u"-file", false);
        tryToMake(context, std::u16string(name) + u"-folder", true);
    }
    const StorageIRI folder = context.at(u"");
    const Model model = modelOf(provider, folder);
    Names patterns{u"[ab]*", u"x[!a]*", u"x[a-b]y", u"x\\*", u"X*",  u"x*Y", u"{x,y}*", u"x*y*",
                   u"*",     u"**",     u"*.*",     u"",     u"?",   u"??",  u"x?",     u"x??",
                   u"*?",    u"?*",     u"??*",     u".*",   u"*.",  u"x*x", u"x+*",    u"x#",
                   u"x1?",   u"x\\?",   u"x;*",     u"{x}",  u"!x",  u"!*",  u"(x)",    u"(*)",
                   u"^*",    u"x$",     u"*$",      u"x|y",  u"x|*", u"x~",  u"x*1",    u"x?y"};
    for (int i = 0; i < 40; ++i) {
        patterns.push_back((i % 2 == 0 ? u"x" : u"*") + randomWord(context, letters + u"**??", 4));
    }
    expectSame(provider.doListAllNamesOnly(folder), pathsIn(model, u"*", ofAnyKind), "doListAllNamesOnly",
               u"*");
    expectSame(provider.doListFilesNamesOnly(folder), pathsIn(model, u"*", ofFiles), "doListFilesNamesOnly",
               u"*");
    expectSame(provider.doListFoldersNamesOnly(folder), pathsIn(model, u"*", ofFolders),
               "doListFoldersNamesOnly", u"*");
    for (const std::u16string& pattern : patterns) {
        if (letters.back() != u'A' && pattern.find_first_of(u"XY") != std::u16string::npos) {
            continue; // a case-insensitive storage may also ignore case in patterns
        }
        expectSelected(provider, folder, model, pattern, pattern);
    }
    expectSelected(provider, folder, model, std::u16string(300, u'*'), u"*");
}

void recursionAgreesWithModel(CheckContext& context) {
    const IProvider& provider = context.provider();
    Names folders{u""};
    for (int i = 0; i < 60; ++i) {
        const std::u16string name = randomWord(context, u"abc", 3) + u"z";
        const std::u16string path = folders[context.random()() % folders.size()] + name;
        tryToMake(context, path, i % 2 == 0);
        if (i % 2 == 0 && provider.doFolderExists(context.at(path))) {
            folders.push_back(path + u"/");
        }
    }
    tryToMake(context, u".hidden", true);
    tryToMake(context, u".hidden/f", false);
    provider.doCreateFolder(context.at(u"many"));
    for (int i = 0; i < 1200; ++i) {
        const std::string number = fmt::format("many/{}", i);
        tryToMake(context, {number.begin(), number.end()}, i % 100 == 0);
    }
    provider.doCreateFolder(context.at(u"protected"));
    provider.doCreateFile(context.at(u"protected/f"));
    const WriteProtection protection(provider, context.at(u"protected"));
    const StorageIRI folder = context.at(u"");
    const Model model = modelOf(provider, folder);
    expectSame(namesOf(provider.doListAllRecursive(folder)), pathsIn(model, u"*", ofAnyKind),
               "doListAllRecursive", u"*");
    expectSame(provider.doListAllRecursiveNamesOnly(folder), pathsIn(model, u"*", ofAnyKind),
               "doListAllRecursiveNamesOnly", u"*");
    for (const char16_t* pattern : {u"*", u"**", u"a*", u"?z", u"*b*", u"z", u"a/*", u""}) {
        const Names expected = pathsIn(model, pattern, ofAnyKind);
        expectSame(namesOf(provider.doListAllRecursiveWildcards(folder, pattern)), expected,
                   "doListAllRecursiveWildcards", pattern);
        expectSame(provider.doListAllRecursiveNamesOnlyWildcards(folder, pattern), expected,
                   "doListAllRecursiveNamesOnlyWildcards", pattern);
    }
}

/// A storage may limit the length of paths, but not to fewer than a hundred levels with short names.
void recursionIsDeep(CheckContext& context) {
    const IProvider& provider = context.provider();
    std::size_t depth = 100;
    std::u16string path = u"t";
    for (std::size_t i = 1; i < depth; ++i) {
        path += u"/d";
    }
    provider.doCreateFolderRecursive(context.at(path));
    while (depth < 300) {
        tryToMake(context, path + u"/d", true);
        if (!provider.doFolderExists(context.at(path + u"/d"))) {
            break;
        }
        path += u"/d";
        ++depth;
    }
    makeFile(provider, context.at(path.substr(0, path.size() - 1) + u"f"), "deep");
    expect(provider.doFileExists(context.at(path.substr(0, path.size() - 1) + u"f")),
           fmt::format("a file below {} folders does not exist", depth - 1));
    provider.doRemoveFile(context.at(path.substr(0, path.size() - 1) + u"f"));
    provider.doRemoveFolder(context.at(path));
    provider.doCreateFolderRecursive(context.at(path));
    expect(provider.doFolderExists(context.at(path)),
           fmt::format("doCreateFolderRecursive does not create the last of {} nested folders", depth));
    const Names names = provider.doListAllRecursiveNamesOnly(context.at(u""));
    const Names listed = namesOf(provider.doListAllRecursive(context.at(u"")));
    expect(names.size() == depth && listed.size() == depth,
           fmt::format("a recursive listing of {} nested folders does not yield them all", depth));
    expect(std::is_sorted(names.begin(), names.end()) && std::is_sorted(listed.begin(), listed.end()),
           "a recursive listing of nested folders does not yield each before its content");
    provider.doRemoveFolderRecursively(context.at(u"t"));
    expect(provider.doListAllNamesOnly(context.at(u"")).empty(),
           fmt::format("{} nested folders are not removed recursively", depth));
}

void randomChangesAgreeWithModel(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"empty"));
    provider.doCreateFile(context.at(u"empty.txt"));
    provider.doRemoveFolderRecursively(context.at(u"empty"));
    expect(!provider.doFolderExists(context.at(u"empty")) && provider.doFileExists(context.at(u"empty.txt")),
           "removing an empty folder recursively leaves it, or removes a file with a similar name");
    provider.doRemoveFile(context.at(u"empty.txt"));
    RandomTree tree(context);
    for (int i = 0; i < 600; ++i) {
        tree.change();
        if (i % 10 == 0) {
            tree.compare();
        }
    }
    tree.compare();
}

/// Paths that a comparator may confuse if it compares numbers, lengths or parts of characters.
Names pathsToOrder(CheckContext& context) {
    const std::u16string letters = lettersFor(context) + u"/0\u00E9";
    Names paths;
    for (int i = 0; i < 60; ++i) {
        paths.emplace_back(u"/").append(randomWord(context, letters, 5));
    }
    for (const char16_t* path :
         {u"/",        u"/a1",      u"/a01",        u"/a001",       u"/a10",    u"/a2",
          u"/a-b",     u"/ab",      u"/a'b",        u"/a b",        u"/a/b",    u"/a//b",
          u"/a_b",     u"/a.b",     u"/\u4E00",     u"/\u4E01",     u"/\u0100", u"/\u0200",
          u"/a\u200B", u"/a\u0301", u"/\U0001F600", u"/\U0001F601", u"/\uFFFF", u"/\uA000"}) {
        paths.emplace_back(path);
    }
    for (const std::size_t length : std::initializer_list<std::size_t>{30, 100, 200, 260, 5000, 33'000}) {
        const std::u16string common(length, u'p');
        paths.insert(paths.end(), {u"/" + common, u"/" + common + u"1", u"/" + common + u"2"});
    }
    std::sort(paths.begin(), paths.end());
    paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
    return paths;
}

/// Expects that `before` returns `expected` for two paths.
void expectOrder(const IProvider::PathComparator& before, const std::u16string& first,
                 const std::u16string& second, bool expected) {
    if (before(first, second) != expected) {
        expect(false, fmt::format("the comparator of paths orders {} and {} inconsistently",
                                  printable(first.substr(0, 40)), printable(second.substr(0, 40))));
    }
}

/// In a strict total order, each path has a different number of paths before it. Counts them, because sorting
/// requires a valid order.
void comparatorIsTotal(CheckContext& context) {
    const Names paths = pathsToOrder(context);
    const auto before = context.provider().doGetPathComparator(context.at(u""));
    std::vector<std::ptrdiff_t> places;
    for (const std::u16string& path : paths) {
        places.push_back(std::count_if(paths.begin(), paths.end(),
                                       [&](const std::u16string& other) { return before(other, path); }));
    }
    std::vector<std::ptrdiff_t> inOrder = places;
    std::sort(inOrder.begin(), inOrder.end());
    expect(std::adjacent_find(inOrder.begin(), inOrder.end()) == inOrder.end(),
           "the comparator treats two different paths as equal, or its order has a cycle");
    const auto again = context.provider().doGetPathComparator(context.at(u"n"));
    for (std::size_t i = 0; i < paths.size(); ++i) {
        for (std::size_t j = 0; j < paths.size(); ++j) {
            expectOrder(before, paths[i], paths[j], places[i] < places[j]);
            expectOrder(again, paths[i], paths[j], places[i] < places[j]);
        }
    }
}

void copiesAgreeWithModel(CheckContext& context) {
    const IProvider& provider = context.provider();
    for (const std::size_t size : std::initializer_list<std::size_t>{0, 1, 4095, 65'535, 65'536, 65'537,
                                                                     131'072, 200'001, 3'000'001}) {
        std::string bytes(size, '\0');
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(context.random()()); });
        writeText(*openStream(provider, context.at(u"f"), {.content = ByteStreamContent::Empty}), bytes);
        unsigned long long last = size + 1;
        provider.doCopyFile(context.at(u"f"), context.at(u"g"), ReplacementPolicy::ReplaceExisting);
        provider.doCopyFileAtomic(context.at(u"f"), context.at(u"h"), ReplacementPolicy::ReplaceExisting,
                                  [&](unsigned long long copied) { last = copied; });
        expect(contentOf(provider, context.at(u"g")) == bytes &&
                   contentOf(provider, context.at(u"h")) == bytes,
               fmt::format("a copy of {} bytes has other bytes", size));
        expect(last == size, fmt::format("the last progress of a copy of {} bytes is {}", size, last));
    }
}

void truncationAgreesWithModel(CheckContext& context) {
    const IProvider& provider = context.provider();
    std::string model = "0123456789";
    makeFile(provider, context.at(u"f"), model);
    for (const std::size_t size :
         std::initializer_list<std::size_t>{7, 20, 15, 0, 3, 70'000, 65'536, 65'537, 1, 200'000, 100}) {
        provider.doTruncateToSize(context.at(u"f"), size);
        model.resize(size, '\0');
        expect(contentOf(provider, context.at(u"f")) == model &&
                   provider.doGetFileAttributes(context.at(u"f")).getSize() == size,
               fmt::format("a file truncated to {} bytes has other bytes than the model", size));
        writeText(*openStream(provider, context.at(u"f")), model.empty() ? "" : "x");
        model.replace(0, model.empty() ? 0 : 1, model.empty() ? "" : "x");
    }
}

/// Calls an optional operation. @return whether the provider offers it
template <class Action>
bool isOffered(const Action& action) {
    try {
        action();
        return true;
    } catch (const Exception& failure) {
        expect(failure.getErrorCode() == ErrorCode::NotOffered,
               fmt::format("an optional operation fails with \"{}\"", failure.what()));
        return false;
    }
}

void transactionsTakeEffectTogether(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI file = context.at(u"f");
    makeFile(provider, file, "old bytes");
    const std::array<std::function<std::unique_ptr<ByteStream>()>, 2> ways{
        [&] { return provider.doOpenTransactionalStream(file, {.content = ByteStreamContent::Empty}); },
        [&] {
            return provider.doOpenTransactionalStreamAtScratchLocation(file, context.at(u"scratch"),
                                                                       {.content = ByteStreamContent::Empty});
        }};
    for (const auto& open : ways) {
        std::unique_ptr<ByteStream> stream;
        if (!isOffered([&] { stream = requireNonNull(open(), "transactional stream"); })) {
            continue;
        }
        const std::string before = contentOf(provider, file);
        const std::string after = before == "first second" ? "another time" : "first second";
        for (const std::size_t half : std::initializer_list<std::size_t>{0, 6}) {
            stream->write(after.data() + half, 6);
            const std::string seen = contentOf(provider, file);
            expect(seen == before || seen == after,
                   "a part of the bytes written to a transactional stream is visible");
        }
        stream->flush();
        stream.reset();
        expect(contentOf(provider, file) == after,
               "the writes of a transactional stream are not in the file after the stream is destroyed");
    }
}

/// Counts events. Thread-safe, because a provider may report them on any thread.
struct Events {
    std::u16string watched; ///< path
    std::mutex mutex;
    std::condition_variable changed;
    int count = 0;
    int wrong = 0; ///< of another kind than the changes, or outside the watched location

    IProvider::EventCallback callback() {
        return [this](StorageEventKind kind, const StorageIRI& source, const StorageIRI&, Type,
                      const boost::property_tree::ptree&) {
            const std::lock_guard lock(mutex);
            ++count;
            const bool made = kind == StorageEventKind::Created || kind == StorageEventKind::Changed;
            wrong += made && source.getResolvedPath().starts_with(watched) ? 0 : 1;
            changed.notify_all();
        };
    }

    bool wait() {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(5), [this] { return count > 0; });
    }
};

void acceptedEventsAreReported(CheckContext& context) {
    const IProvider& provider = context.provider();
    makeFile(provider, context.at(u"f"), "bytes");
    int number = 0;
    const auto expectReported = [&](const char* operation, const StorageIRI& iri, auto begin, auto end) {
        Events events;
        events.watched = iri.getResolvedPath();
        if (!isOffered([&] { (provider.*begin)(iri, events.callback()); })) {
            isOffered([&] { (provider.*end)(iri); }); // may do nothing
            return;
        }
        writeText(*openStream(provider, context.at(u"f")), fmt::format("bytes {}", ++number));
        provider.doCreateFile(context.at(std::u16string(static_cast<std::size_t>(number), u'n')));
        const bool reported = events.wait();
        (provider.*end)(iri);
        const int count = events.count;
        writeText(*openStream(provider, context.at(u"f")), "unwatched");
        expect(reported,
               fmt::format("{} accepts a callback, but does not call it after a change", operation));
        expect(events.wrong == 0,
               fmt::format("{} reports a removal, a move, or an entry that is not watched", operation));
        expect(events.count == count, fmt::format("{} reports a change after it was stopped", operation));
    };
    expectReported("doPublishFolderEventsFor", context.at(u""), &IProvider::doPublishFolderEventsFor,
                   &IProvider::doStopPublishingEventsFor);
    expectReported("doPublishFileEventsFor", context.at(u"f"), &IProvider::doPublishFileEventsFor,
                   &IProvider::doStopPublishingEventsFor);
    expectReported("doStartChangePollingMechanism", context.at(u""),
                   &IProvider::doStartChangePollingMechanism, &IProvider::doStopChangePollingMechanism);
}

constexpr auto any = Profile::AnyProvider;

constexpr std::array table{
    Check{"16.1", "models.wildcards",
          "Listings by random patterns agree with a model: only * and ? are special, and case matters unless "
          "names are case-insensitive.",
          any, patternsAgreeWithModel},
    Check{"16.2", "models.recursion",
          "Recursive listings of random trees agree with the listings of each folder.", any,
          recursionAgreesWithModel},
    Check{"16.3", "models.depth", "Recursive operations work through a hundred levels of folders.", any,
          recursionIsDeep},
    Check{"16.4", "models.path-order",
          "The comparator of paths is a strict total order: of two different paths, one comes first.", any,
          comparatorIsTotal},
    Check{"16.5", "models.copies", "Copies of sizes around the block size have the bytes of the source.", any,
          copiesAgreeWithModel},
    Check{"16.6", "models.truncation",
          "A file that is truncated to several sizes in turn agrees with a model.", any,
          truncationAgreesWithModel},
    Check{"16.7", "models.transactions",
          "The writes of a transactional stream, if offered, become visible together, at the latest when it "
          "is destroyed.",
          any, transactionsTakeEffectTogether},
    Check{"16.8", "models.events",
          "An accepted event callback is called after a change of its entry, and for nothing else.", any,
          acceptedEventsAreReported},
    Check{"16.9", "models.random-changes",
          "After random changes of a tree, names, bytes, flags and times agree with a model.", any,
          randomChangesAgreeWithModel},
};

} // namespace
} // namespace default_model_checks

std::span<const Check> defaultsAgainstModels() {
    return default_model_checks::table;
}

} // namespace storage::host::checks
