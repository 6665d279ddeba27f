#include "host/storage/Listing.h"
#include "host/support/Utf.h"
#include "host/validate/checks/CheckCatalogue.h"
#include "host/validate/checks/EntryKind.h"
#include "host/validate/kit/CheckContext.h"
#include "host/validate/kit/ExpectRefusal.h"
#include "host/validate/kit/Expectations.h"
#include "host/validate/kit/StreamSteps.h"
#include "host/validate/kit/Times.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/SystemError.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <iterator>
#include <vector>

namespace storage::host::checks {

using namespace provider;

namespace path_checks {
namespace {

using Names = std::vector<std::u16string>;

/// Whether the storage accepts a name. The in-memory provider must accept every name.
bool isTaken(CheckContext& context, const std::u16string& name) {
    try {
        context.provider().doCreateFile(context.at(name));
        context.provider().doRemoveFile(context.at(name));
        return true;
    } catch (const Exception&) {
        return context.isInMemoryProvider();
    }
}

/// Creates a file with each name and its index as content. Expects that each file is found and listed by its
/// own name.
void expectNamesKept(CheckContext& context, const Names& wanted) {
    const IProvider& provider = context.provider();
    Names names;
    std::copy_if(wanted.begin(), wanted.end(), std::back_inserter(names),
                 [&](const std::u16string& name) { return isTaken(context, name); });
    if (names.empty()) {
        skip("the storage accepts no such names");
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
        makeFile(provider, context.at(names[i]), std::to_string(i));
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
        expect(contentOf(provider, context.at(names[i])) == std::to_string(i),
               fmt::format("the file called \"{}\" has the bytes of another", printable(names[i])));
    }
    Names sorted = names;
    std::sort(sorted.begin(), sorted.end());
    Names listed;
    for (const FolderEntry& entry : sortedEntries(provider.doListAll(context.at(u"")))) {
        listed.push_back(entry.getName());
    }
    const auto [made, seen] = std::mismatch(sorted.begin(), sorted.end(), listed.begin(), listed.end());
    expect(made == sorted.end() && seen == listed.end(),
           fmt::format("files were created with {} names; {} are listed, the first that differs is \"{}\"",
                       names.size(), listed.size(), printable(seen == listed.end() ? u"" : *seen)));
}

void plainNames(CheckContext& context) {
    expectNamesKept(context,
                    {u"a", u"a b", u" lead", u".hidden", u"a.b.c", u"-dash", u"~", u"#%&+", u"(1)", u"0"});
}

/// Names without an alternative Unicode normal form, so a storage that normalizes names keeps them.
void namesOfTheWorld(CheckContext& context) {
    expectNamesKept(context, {u"Straße", u"中文", u"Ωμ", u"שלום", u"\U0001F600", u"x\U0001F680y"});
}

void similarNames(CheckContext& context) {
    expectNamesKept(context, {u"a", u"aa", u"aaa", u"ab", u"a0", u"a-", u"a.a", u"a a"});
}

/// A case-sensitive storage must distinguish case in all letters. A case-insensitive one must ignore it in
/// ASCII letters.
void caseAsTold(CheckContext& context) {
    const IProvider& provider = context.provider();
    const bool sensitive =
        provider.doGetFilenameSensitivity(context.at(u"")) == FilenameSensitivity::CaseSensitive;
    bool tried = false;
    for (const auto& [name, other] : std::initializer_list<std::pair<std::u16string, std::u16string>>{
             {u"Name", u"nAME"},
             {u"\u00C9t\u00E9", u"\u00E9t\u00E9"},
             {u"\u0416", u"\u0436"},
             {u"\u03A9", u"\u03C9"}}) {
        if (!isTaken(context, name) || !isTaken(context, other)) {
            continue;
        }
        tried = true;
        makeFile(provider, context.at(name), "first");
        const bool found = provider.doFileExists(context.at(other));
        const bool isAscii = name.front() < 0x80;
        expect(found != sensitive || (!sensitive && !isAscii),
               fmt::format(R"(the storage reports that names are case-{}sensitive, but "{}" is {} as "{}")",
                           sensitive ? "" : "in", printable(name), found ? "found" : "not found",
                           printable(other)));
        provider.doRemoveFile(context.at(name));
    }
    if (!tried) {
        skip("the storage accepts no such names");
    }
}

void caseSensitive(CheckContext& context) {
    expect(context.provider().doGetFilenameSensitivity(context.at(u"")) == FilenameSensitivity::CaseSensitive,
           "the provider reports that names are case-insensitive");
    expectNamesKept(context, {u"name", u"Name", u"NAME", u"ß", u"ss", u"SS", u"i", u"I", u"İ", u"ı"});
}

void codeUnits(CheckContext& context) {
    expectNamesKept(context, {u"\u00E9", u"e\u0301", u"\uFB01", u"fi", u"\u212B", u"\u00C5",
                              std::u16string(1, u'\xD800'), std::u16string(1, u'\xDC00'),
                              std::u16string(1, u'\0'), u"\uFEFFa"});
}

void noSpecialNames(CheckContext& context) {
    expectNamesKept(context,
                    {u".", u"..", u"...", u"*", u"?", u"a\\b", u"C:", u"nul", u"\n", u"a\tb", u"a "});
}

void dotsAreNotResolved(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"d"));
    makeFile(provider, context.at(u"f"), "");
    for (const char16_t* path : {u"d/../f", u"./f"}) {
        expect(!provider.doFileExists(context.at(path)),
               fmt::format("{} leads to a file, though there is no folder of that name", printable(path)));
    }
}

void longNames(CheckContext& context) {
    expectNamesKept(context, {std::u16string(10'000, u'n'), std::u16string(10'000, u'n') + u"1"});
}

/// Expects that every operation resolves the path `spelled` to the file `f` in the folder `d`.
void expectSameFile(CheckContext& context, const std::u16string& spelled) {
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"d"));
    const StorageIRI file(spelled);
    makeFile(provider, file, "here");
    expect(contentOf(provider, context.at(u"d/f")) == "here",
           fmt::format("a file made as {} is not where {} is", printable(spelled),
                       printable(context.at(u"d/f").getPath())));
    const auto entries = sortedEntries(provider.doListAll(context.at(u"d")));
    expect(entries.size() == 1 && entries.front().getName() == u"f",
           fmt::format("a file made as {} is not listed as \"f\"", printable(spelled)));
    provider.doRemoveFile(file);
}

void trailingSlash(CheckContext& context) {
    expectSameFile(context, context.at(u"d/f/").getPath());
}

void leadingSlashes(CheckContext& context) {
    expectSameFile(context, u"//" + context.at(u"d/f").getPath());
}

void twoTrailingSlashes(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"d"));
    makeFile(provider, context.at(u"d//"), "nameless");
    const auto entries = sortedEntries(provider.doListAll(context.at(u"d")));
    expect(entries.size() == 1 && entries.front().getName().empty(),
           "a file made with two slashes behind its folder is not the one without a name in it");
    expect(provider.doFolderExists(context.at(u"d")), "a file without a name takes the place of its folder");
}

void innerSlashes(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"d"));
    makeFile(provider, context.at(u"d/f"), "one");
    makeFile(provider, context.at(u"d//f"), "two");
    expect(contentOf(provider, context.at(u"d/f")) == "one" &&
               contentOf(provider, context.at(u"d//f")) == "two",
           "paths with one slash and with two between the same names are one");
    const auto entries = sortedEntries(provider.doListAll(context.at(u"d")));
    expect(entries.size() == 2 && entries.front().getName() == u"f" && entries.back().getName() == u"f",
           "files with one slash and with two before the same name are not both listed by that name");
}

void relativePaths(CheckContext& context) {
    const IProvider& provider = context.provider();
    makeFile(provider, StorageIRI(u"x/relative"), "");
    expect(provider.doFileExists(StorageIRI(u"/relative")),
           "a path with a slash at its second place does not begin there");
    for (const char16_t* path : {u"xy/relative", u"relative"}) {
        const StorageIRI file(path);
        expectFailure([&] { provider.doCreateFile(file); }, ErrorCode::NotFound, file,
                      fmt::format("creating a file at {}", printable(path)));
    }
    const StorageIRI folder(u"relative");
    expectFailure([&] { provider.doCreateFolder(folder); }, ErrorCode::AlreadyExists, folder,
                  "creating a folder at a path without a slash");
}

/// A location with another given path but the same resolved path.
StorageIRI alias(const StorageIRI& target) {
    return {target.getResolvedPath(), u"/alias", target.hasParent()};
}

void resolvedPathUsed(CheckContext& context) {
    const IProvider& provider = context.provider();
    makeFile(provider, alias(context.at(u"f")), "bytes");
    provider.doCreateFolder(alias(context.at(u"d")));
    expect(provider.doFileExists(context.at(u"f")) && provider.doFolderExists(context.at(u"d")),
           "an entry created at a location is not at its resolved path");
    expect(provider.doFileExists(alias(context.at(u"f"))) &&
               provider.doFolderExists(alias(context.at(u"d"))) &&
               provider.doGetFileAttributes(alias(context.at(u"f"))).getSize() == 5 &&
               !provider.doListAll(alias(context.at(u"d")))->hasNext(),
           "a query of a location does not use its resolved path");
    provider.doSetLastModified(alias(context.at(u"d")), longAgo());
    expect(contentOf(provider, alias(context.at(u"f"))) == "bytes" &&
               provider.doGetFolderAttributes(context.at(u"d")).getLastModified() <=
                   longAgo() + boost::gregorian::days(1),
           "a stream or a time for a location is not for its resolved path");
    provider.doMoveFile(alias(context.at(u"f")), alias(context.at(u"d/g")),
                        ReplacementPolicy::RefuseExisting);
    provider.doMoveFolder(alias(context.at(u"d")), alias(context.at(u"e")),
                          ReplacementPolicy::RefuseExisting);
    expect(provider.doFileExists(context.at(u"e/g")),
           "a move from or to a location is not at its resolved path");
    provider.doRemoveFile(alias(context.at(u"e/g")));
    provider.doRemoveFolder(alias(context.at(u"e")));
    expect(!provider.doListAll(context.at(u""))->hasNext(),
           "removing a location does not remove the entry at its resolved path");
}

void locationNamedAsGiven(CheckContext& context) {
/// Calls every operation with locations that are missing, and some with locations that exist, each given by
/// another path than the one that it resolves to.
    const IProvider& provider = context.provider();
    const StorageIRI missing = alias(context.at(u"missing"));
    for (const EntryKind* kind : {&fileKind, &folderKind}) {
        expectRefusal(
            context, [&] { (provider.*kind->remove)(missing); }, ErrorCode::NotFound, missing,
            fmt::format("removing a missing {}, given by a path and another one that it resolves to,",
                        kind->name));
    }
}

void rootIsWhatHasNoParent(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI withoutParent(u"/anything", u"/anything", false);
    const StorageIRI slash(u"/", u"/alias", true);
    for (const StorageIRI& root : {withoutParent, slash}) {
        expect(provider.doFolderExists(root) && !provider.doFileExists(root),
               fmt::format("{} {} parent is not the root", printable(root.getResolvedPath()),
                           root.hasParent() ? "with a" : "without"));
        provider.doGetFolderAttributes(root);
    }
    const StorageIRI slashes(u"//", u"//", true);
    expect(!provider.doFolderExists(slashes), "// with a parent is the root");
}

void rootHasManySpellings(CheckContext& context) {
    const IProvider& provider = context.provider();
    for (const char16_t* path : {u"", u"/", u"//", u"///"}) {
        const StorageIRI root(path);
        expect(provider.doFolderExists(root) && !provider.doFileExists(root),
               fmt::format("\"{}\" is not found as the root folder", printable(path)));
    }
}

/// Names that a storage confuses if it truncates, trims, decodes, case-folds, normalizes or replaces
/// characters.
std::vector<Names> lookAlikes() {
    std::vector<Names> lists{
        {u"a", u"a ", u" a", u"a.", u"a..", u"a\t", u"\ta", u"a\n", u"a\u00A0", u"a\u200B", u"\uFEFFa"},
        {u"a b", u"a%20b", u"a+b", u"a_b", u"a-b", u"a\\x20b", u"a&#32;b", u"a=20b"},
        {u"%", u"%%", u"%25", u"a%2Fb", u"a%252Fb", u"%41", u"%C3%A9", u"~1"},
        {u"a?", u"a*", u"a:", u"a<", u"a>", u"a|", u"a\"", u"a\\", u"a;1", u"a_", u"a\uFFFD"},
        {u"\u00E9", u"e\u0301", u"e"},
        {u"\uFB01", u"fi", u"\u2460", u"1"},
        {u"\uFF41", u"a", u"\uFF0E", u"\u2126", u"\u03A9", u"a\u00AD", u"a\u200D"},
        {u"\u212B", u"\u00C5", u"A\u030A"},
        {std::u16string(1, u'\xD800'), std::u16string(1, u'\xDC00'), std::u16string(1, u'\xDC80'), u"\uFFFD"},
        {u"a", std::u16string(u"a\0b", 3), std::u16string(u"a\0c", 3)},
        {u"a.text", u"a.tex", u"a.te", u"longer-name-1.txt", u"longer-name-2.txt"},
    };
    for (const std::size_t length : std::initializer_list<std::size_t>{8, 14, 31, 63, 64, 100, 127, 143, 200,
                                                                       240, 251, 254, 255, 256, 300, 1000}) {
        const std::u16string name(length, u'n');
        lists.push_back({name, name + u"1", name + u"2", name + u"\u00E9"});
    }
    return lists;
}

Names namesListed(CheckContext& context) {
    Names names;
    for (const FolderEntry& entry : sortedEntries(context.provider().doListAll(context.at(u"")))) {
        names.push_back(entry.getName());
    }
    return names;
}

void expectListed(CheckContext& context, Names expected, std::string_view occasion) {
    std::sort(expected.begin(), expected.end());
    const Names seen = namesListed(context);
    const auto [made, listed] = std::mismatch(expected.begin(), expected.end(), seen.begin(), seen.end());
    expect(made == expected.end() && listed == seen.end(),
           fmt::format(R"({}, the folder lists {} names of {}; the first that differs is "{}", not "{}")",
                       occasion, seen.size(), expected.size(),
                       printable(listed == seen.end() ? u"" : *listed),
                       printable(made == expected.end() ? u"" : *made)));
}

/// @return whether the storage accepted the name; otherwise expects NotFound with the location, or an error
///         of the underlying system
template <const EntryKind& kind>
bool isCreated(CheckContext& context, const std::u16string& name) {
    const IProvider& provider = context.provider();
    try {
        (provider.*kind.create)(context.at(name));
        return true;
    } catch (const Exception& refusal) {
        expect(refusal.getErrorCode() == ErrorCode::NotFound && refusal.getIRI() == context.at(name),
               fmt::format(R"(a new {} called "{}" is refused with "{}", not with NotFound naming it)",
                           kind.name, printable(name), refusal.what()));
    } catch (const SystemError&) { // allowed
    }
    expect(!(provider.*kind.exists)(context.at(name)),
           fmt::format("the {} \"{}\" was refused, but exists", kind.name, printable(name)));
    return false;
}

template <const EntryKind& kind>
void lookAlikesAreApart(CheckContext& context) {
    const IProvider& provider = context.provider();
    for (const Names& names : lookAlikes()) {
        Names taken;
        std::copy_if(names.begin(), names.end(), std::back_inserter(taken),
                     [&](const std::u16string& name) { return isCreated<kind>(context, name); });
        expectListed(context, taken, fmt::format("after creating {}s", kind.name));
        for (const std::u16string& name : taken) {
            (provider.*kind.remove)(context.at(name));
        }
        expectListed(context, {}, "after removing them");
    }
}

void everyOperationTakesTheSameName(CheckContext& context) {
    const IProvider& provider = context.provider();
    const auto move = [&](auto operation, const std::u16string& from, const std::u16string& to) {
        (provider.*operation)(context.at(from), context.at(to), ReplacementPolicy::RefuseExisting);
        expectListed(context, {to}, "after a move");
    };
    for (const Names& names : lookAlikes()) {
        for (const std::u16string& name : names) {
            if (!isCreated<fileKind>(context, name)) {
                continue;
            }
            provider.doRemoveFile(context.at(name));
            openStream(provider, context.at(name));
            expectListed(context, {name}, "after opening a new file");
            move(&IProvider::doMoveFile, name, u"plain");
            move(&IProvider::doMoveFile, u"plain", name);
            provider.doRemoveFile(context.at(name));
            provider.doCreateFolder(context.at(u"plain"));
            move(&IProvider::doMoveFolder, u"plain", name);
            provider.doRemoveFolder(context.at(name));
        }
    }
}

constexpr auto any = Profile::AnyProvider;
constexpr auto inMemory = Profile::InMemoryProvider;

constexpr std::array table{
    Check{"4.1", "paths.plain-names",
          "Names with spaces, dots and punctuation are refused or kept unchanged.", any, plainNames},
    Check{"4.2", "paths.names-of-the-world",
          "Names in any script, also outside the basic multilingual plane, are refused or kept unchanged.",
          any, namesOfTheWorld},
    Check{"4.3", "paths.similar-names", "Names with a common beginning are different names.", any,
          similarNames},
    Check{
        "4.4", "paths.case-as-told",
        "Names that differ only in case are distinct if doGetFilenameSensitivity says so; otherwise they are "
        "equal, at least those in ASCII.",
        any, caseAsTold},
    Check{"4.5", "paths.case-is-kept", "Names that differ only in case are two names.", inMemory,
          caseSensitive},
    Check{"4.6", "paths.code-units",
          "Names are compared by code units, and any code unit except the slash is allowed.", inMemory,
          codeUnits},
    Check{"4.7", "paths.no-special-names", "No name is special: dots and wildcards are ordinary names.",
          inMemory, noSpecialNames},
    Check{"4.8", "paths.dots-are-not-resolved", R"(In a path, "." and ".." are ordinary names of folders.)",
          inMemory, dotsAreNotResolved},
    Check{"4.9", "paths.long-names", "A name can have ten thousand code units.", inMemory, longNames},
    Check{"4.10", "paths.trailing-slash", "One slash at the end of a path is ignored.", inMemory,
          trailingSlash},
    Check{"4.11", "paths.two-trailing-slashes",
          "A path that ends in two slashes names the entry with an empty name in the folder before them.",
          inMemory, twoTrailingSlashes},
    Check{"4.12", "paths.leading-slashes", "Several slashes at the beginning of a path count as one.",
          inMemory, leadingSlashes},
    Check{"4.13", "paths.inner-slashes",
          "Two slashes between names give another path than one, in the same folder.", inMemory,
          innerSlashes},
    Check{"4.14", "paths.relative",
          "A path without a leading slash is in no folder, except that one whose second code unit is a slash "
          "begins there.",
          inMemory, relativePaths},
    Check{"4.15", "paths.resolved-path-is-used", "The resolved path of a location determines the entry.", any,
          resolvedPathUsed},
    Check{"4.16", "paths.location-named-as-given", "A failure carries the caller's location unchanged.", any,
          locationNamedAsGiven},
    Check{"4.17", "paths.root-by-parent",
          "A location without a parent is the root, and so is one resolved to \"/\".", inMemory,
          rootIsWhatHasNoParent},
    Check{"4.18", "paths.root-spellings",
          "A location with an empty path, or a path of only slashes, is the root.", any,
          rootHasManySpellings},
    Check{"4.19", "paths.files-are-apart",
          "A name of a file is refused with NotFound, or listed unchanged and distinct from similar names.",
          any, lookAlikesAreApart<fileKind>},
    Check{"4.20", "paths.folders-are-apart",
          "A name of a folder is refused with NotFound, or listed unchanged and distinct from similar names.",
          any, lookAlikesAreApart<folderKind>},
    Check{"4.21", "paths.same-for-all-operations",
          "Creating, opening, moving and removing treat a name in the same way.", any,
          everyOperationTakesTheSameName},
};

} // namespace
} // namespace path_checks

std::span<const Check> paths() {
    return path_checks::table;
}

} // namespace storage::host::checks
