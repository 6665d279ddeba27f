#include "host/support/Utf.h"
#include "host/validate/checks/CheckCatalogue.h"
#include "host/validate/kit/CheckContext.h"
#include "host/validate/kit/Expectations.h"
#include "host/validate/kit/StreamSteps.h"
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

/// Reference implementation: "*" matches any characters, "?" matches one, all others match themselves.
bool matchesPlainly(std::u16string_view pattern, std::u16string_view name) {
    if (pattern.empty()) {
        return name.empty();
    }
    if (pattern.front() == u'*') {
        return matchesPlainly(pattern.substr(1), name) ||
               (!name.empty() && matchesPlainly(pattern, name.substr(1)));
    }
    return !name.empty() && (pattern.front() == u'?' || pattern.front() == name.front()) &&
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
           fmt::format("{} by the pattern \"{}\" gives other names than those that match", operation,
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

void patternsAgreeWithModel(CheckContext& context) {
    const IProvider& provider = context.provider();
    const std::u16string letters = lettersFor(context);
    for (int i = 0; i < 30; ++i) {
        tryToMake(context, std::u16string(u"x").append(randomWord(context, letters, 4)).append(u"y"),
                  i % 3 == 0);
    }
    const StorageIRI folder = context.at(u"");
    const Model model = modelOf(provider, folder);
    Names patterns{u"[ab]*", u"x[!a]*", u"x[a-b]y", u"x\\*", u"X*", u"x*Y", u"{x,y}*", u"x*y*"};
    for (int i = 0; i < 40; ++i) {
        patterns.push_back((i % 2 == 0 ? u"x" : u"*") + randomWord(context, letters + u"**??", 4));
    }
    constexpr auto all = [](Type) { return true; };
    constexpr auto files = [](Type type) { return type == Type::File; };
    constexpr auto folders = [](Type type) { return type == Type::Folder; };
    for (const std::u16string& pattern : patterns) {
        if (letters.back() != u'A' && pattern.find_first_of(u"XY") != std::u16string::npos) {
            continue; // a case-insensitive storage may also ignore case in patterns
        }
        const Names every = pathsIn(model, pattern, all);
        const Names ofFiles = pathsIn(model, pattern, files);
        const Names ofFolders = pathsIn(model, pattern, folders);
        expectSame(namesOf(provider.doListAllWildcards(folder, pattern)), every, "doListAllWildcards",
                   pattern);
        expectSame(namesOf(provider.doListFilesWildcards(folder, pattern)), ofFiles, "doListFilesWildcards",
                   pattern);
        expectSame(namesOf(provider.doListFoldersWildcards(folder, pattern)), ofFolders,
                   "doListFoldersWildcards", pattern);
        expectSame(provider.doListAllNamesOnlyWildcards(folder, pattern), every,
                   "doListAllNamesOnlyWildcards", pattern);
        expectSame(provider.doListFilesNamesOnlyWildcards(folder, pattern), ofFiles,
                   "doListFilesNamesOnlyWildcards", pattern);
        expectSame(provider.doListFoldersNamesOnlyWildcards(folder, pattern), ofFolders,
                   "doListFoldersNamesOnlyWildcards", pattern);
    }
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
    const StorageIRI folder = context.at(u"");
    const Model model = modelOf(provider, folder);
    constexpr auto all = [](Type) { return true; };
    expectSame(namesOf(provider.doListAllRecursive(folder)), pathsIn(model, u"*", all), "doListAllRecursive",
               u"*");
    expectSame(provider.doListAllRecursiveNamesOnly(folder), pathsIn(model, u"*", all),
               "doListAllRecursiveNamesOnly", u"*");
    for (const char16_t* pattern : {u"*", u"a*", u"?z", u"*b*", u"z", u"a/*", u""}) {
        const Names expected = pathsIn(model, pattern, all);
        expectSame(namesOf(provider.doListAllRecursiveWildcards(folder, pattern)), expected,
                   "doListAllRecursiveWildcards", pattern);
        expectSame(provider.doListAllRecursiveNamesOnlyWildcards(folder, pattern), expected,
                   "doListAllRecursiveNamesOnlyWildcards", pattern);
    }
}

void recursionIsDeep(CheckContext& context) {
    const IProvider& provider = context.provider();
    constexpr std::size_t depth = 100;
    std::u16string path = u"t";
    for (std::size_t i = 1; i < depth; ++i) {
        path += u"/d";
    }
    provider.doCreateFolderRecursive(context.at(path));
    makeFile(provider, context.at(path + u"/f"), "deep");
    expect(
        provider.doListAllRecursiveNamesOnly(context.at(u"")).size() == depth + 1,
        fmt::format("a recursive listing of {} folders in one another, and a file, does not yield them all",
                    depth));
    provider.doRemoveFolderRecursively(context.at(u"t"));
    expect(provider.doListAllNamesOnly(context.at(u"")).empty(),
           fmt::format("{} folders in one another are not removed recursively", depth));
}

void comparatorIsTotal(CheckContext& context) {
    const auto before = context.provider().doGetPathComparator(context.at(u""));
    const std::u16string letters = lettersFor(context) + u"/0\u00E9";
    Names paths;
    for (int i = 0; i < 60; ++i) {
        paths.emplace_back(u"/").append(randomWord(context, letters, 5));
    }
    std::sort(paths.begin(), paths.end());
    paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
    Names ordered = paths;
    std::sort(ordered.begin(), ordered.end(), before);
    for (std::size_t i = 0; i < ordered.size(); ++i) {
        for (std::size_t j = i + 1; j < ordered.size(); ++j) {
            expect(before(ordered[i], ordered[j]) && !before(ordered[j], ordered[i]),
                   fmt::format("the comparator of paths does not order {} and {} as it orders others",
                               printable(ordered[i]), printable(ordered[j])));
        }
    }
}

void copiesAgreeWithModel(CheckContext& context) {
    const IProvider& provider = context.provider();
    for (const std::size_t size :
         std::initializer_list<std::size_t>{0, 1, 4095, 65'535, 65'536, 65'537, 131'072, 200'001}) {
/// A storage may limit the length of paths, but not to fewer than a hundred levels with short names.
        std::string bytes(size, '\0');
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(context.random()()); });
        writeText(*openStream(provider, context.at(u"f"), {.content = ByteStreamContent::Empty}), bytes);
        unsigned long long told = size + 1;
        provider.doCopyFile(context.at(u"f"), context.at(u"g"), ReplacementPolicy::ReplaceExisting);
        provider.doCopyFileAtomic(context.at(u"f"), context.at(u"h"), ReplacementPolicy::ReplaceExisting,
                                  [&](unsigned long long copied) { told = copied; });
        expect(contentOf(provider, context.at(u"g")) == bytes &&
                   contentOf(provider, context.at(u"h")) == bytes,
               fmt::format("a copy of {} bytes has other bytes", size));
        expect(told == size, fmt::format("the last progress of a copy of {} bytes is {}", size, told));
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
               fmt::format("a file that was given the size {} has other bytes", size));
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
            expect(seen == before || seen == after, "a part of what a transactional stream writes is seen");
        }
        stream->flush();
        stream.reset();
        expect(contentOf(provider, file) == after,
               "the writes of a transactional stream are not in the file in the end");
    }
}

/// Counts events. Thread-safe, because a provider may report them on any thread.
struct Events {
    std::mutex mutex;
    std::condition_variable changed;
    int count = 0;

    IProvider::EventCallback callback() {
        return [this](StorageEventKind, const StorageIRI&, const StorageIRI&, Type,
                      const boost::property_tree::ptree&) {
            const std::lock_guard lock(mutex);
            ++count;
            changed.notify_all();
        };
    }

    bool come() {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(5), [this] { return count > 0; });
    }
};

void acceptedEventsAreTold(CheckContext& context) {
    const IProvider& provider = context.provider();
    makeFile(provider, context.at(u"f"), "bytes");
    int number = 0;
    const auto expectTold = [&](const char* operation, const StorageIRI& iri, auto begin, auto end) {
        Events events;
        if (!isOffered([&] { (provider.*begin)(iri, events.callback()); })) {
            return;
        }
        writeText(*openStream(provider, context.at(u"f")), fmt::format("bytes {}", ++number));
        provider.doCreateFile(context.at(std::u16string(static_cast<std::size_t>(number), u'n')));
        const bool told = events.come();
        (provider.*end)(iri);
        expect(told, fmt::format("{} accepts a callback, but does not call it after a change", operation));
    };
    expectTold("doPublishFolderEventsFor", context.at(u""), &IProvider::doPublishFolderEventsFor,
               &IProvider::doStopPublishingEventsFor);
    expectTold("doPublishFileEventsFor", context.at(u"f"), &IProvider::doPublishFileEventsFor,
               &IProvider::doStopPublishingEventsFor);
    expectTold("doStartChangePollingMechanism", context.at(u""), &IProvider::doStartChangePollingMechanism,
               &IProvider::doStopChangePollingMechanism);
}

constexpr auto any = Profile::AnyProvider;

constexpr std::array table{
    Check{"16.1", "models.wildcards",
          "Listings by random patterns agree with a model: only * and ? are special, and case counts.", any,
          patternsAgreeWithModel},
    Check{"16.2", "models.recursion",
          "Recursive listings of random trees agree with the listings of each folder.", any,
          recursionAgreesWithModel},
    Check{"16.3", "models.depth", "Recursive operations reach through a hundred levels of folders.", any,
          recursionIsDeep},
    Check{"16.4", "models.path-order",
          "The comparator orders any two different paths, and all of them consistently.", any,
          comparatorIsTotal},
    Check{"16.5", "models.copies", "Copies of sizes around the block size have the bytes of the source.", any,
          copiesAgreeWithModel},
    Check{"16.6", "models.truncation",
          "A file that is truncated to one size after the other agrees with a model.", any,
          truncationAgreesWithModel},
    Check{"16.7", "models.transactions",
          "The writes of a transactional stream, if offered, become visible all at once, at its end at the "
          "latest.",
          any, transactionsTakeEffectTogether},
    Check{"16.8", "models.events", "An event callback that is accepted is called after a change.", any,
          acceptedEventsAreTold},
};

} // namespace
} // namespace default_model_checks

std::span<const Check> defaultsAgainstModels() {
    return default_model_checks::table;
}

} // namespace storage::host::checks
