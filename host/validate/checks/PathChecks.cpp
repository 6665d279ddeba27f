#include "host/storage/Listing.h"
#include "host/support/Utf.h"
#include "host/validate/checks/CheckCatalogue.h"
#include "host/validate/checks/EntryKind.h"
#include "host/validate/kit/CheckContext.h"
#include "host/validate/kit/Expectations.h"
#include "host/validate/kit/StreamSteps.h"
#include "host/validate/kit/Times.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/SystemError.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <functional>
#include <iterator>
#include <vector>

namespace storage::host::checks {

using namespace provider;

namespace path_checks {
namespace {

using Names = std::vector<std::u16string>;

/// Whether the storage accepts a name. The in-memory provider must accept every name.
bool isAccepted(CheckContext& context, const std::u16string& name) {
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
                 [&](const std::u16string& name) { return isAccepted(context, name); });
    if (names.empty()) {
        skip("the storage accepts none of these names");
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
void caseAsReported(CheckContext& context) {
    const IProvider& provider = context.provider();
    const bool sensitive =
        provider.doGetFilenameSensitivity(context.at(u"")) == FilenameSensitivity::CaseSensitive;
    bool tried = false;
    for (const auto& [name, other] : std::initializer_list<std::pair<std::u16string, std::u16string>>{
             {u"Name", u"nAME"},
             {u"\u00C9t\u00E9", u"\u00E9t\u00E9"},
             {u"\u0416", u"\u0436"},
             {u"\u03A9", u"\u03C9"}}) {
        if (!isAccepted(context, name) || !isAccepted(context, other)) {
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
        skip("the storage accepts none of these names");
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
           fmt::format("a file created as {} does not exist as {}", printable(spelled),
                       printable(context.at(u"d/f").getPath())));
    const auto entries = sortedEntries(provider.doListAll(context.at(u"d")));
    expect(entries.size() == 1 && entries.front().getName() == u"f",
           fmt::format("a file created as {} is not listed as \"f\"", printable(spelled)));
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
           "a file created with two slashes after its folder is not listed with an empty name");
    expect(provider.doFolderExists(context.at(u"d")), "a file with an empty name replaces its folder");
}

void innerSlashes(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"d"));
    makeFile(provider, context.at(u"d/f"), "one");
    makeFile(provider, context.at(u"d//f"), "two");
    expect(contentOf(provider, context.at(u"d/f")) == "one" &&
               contentOf(provider, context.at(u"d//f")) == "two",
           "paths with one and with two slashes between the same names lead to one file");
    const auto entries = sortedEntries(provider.doListAll(context.at(u"d")));
    expect(entries.size() == 2 && entries.front().getName() == u"f" && entries.back().getName() == u"f",
           "files with one and with two slashes before the same name are not both listed by that name");
}

void relativePaths(CheckContext& context) {
    const IProvider& provider = context.provider();
    makeFile(provider, StorageIRI(u"x/relative"), "");
    expect(provider.doFileExists(StorageIRI(u"/relative")),
           "a path with a slash as its second code unit does not begin there");
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
           "creating an entry does not use the resolved path");
    expect(provider.doFileExists(alias(context.at(u"f"))) &&
               provider.doFolderExists(alias(context.at(u"d"))) &&
               provider.doGetFileAttributes(alias(context.at(u"f"))).getSize() == 5 &&
               !provider.doListAll(alias(context.at(u"d")))->hasNext(),
           "a query does not use the resolved path");
    provider.doSetLastModified(alias(context.at(u"d")), pastTime());
    expect(contentOf(provider, alias(context.at(u"f"))) == "bytes" &&
               provider.doGetFolderAttributes(context.at(u"d")).getLastModified() <=
                   pastTime() + boost::gregorian::days(1),
           "opening a file or setting a time does not use the resolved path");
    provider.doMoveFile(alias(context.at(u"f")), alias(context.at(u"d/g")),
                        ReplacementPolicy::RefuseExisting);
    provider.doMoveFolder(alias(context.at(u"d")), alias(context.at(u"e")),
                          ReplacementPolicy::RefuseExisting);
    expect(provider.doFileExists(context.at(u"e/g")), "a move does not use the resolved paths");
    provider.doRemoveFile(alias(context.at(u"e/g")));
    provider.doRemoveFolder(alias(context.at(u"e")));
    expect(!provider.doListAll(context.at(u""))->hasNext(),
           "removing an entry does not use the resolved path");
}

/// Calls operations with missing and with existing locations. The given path of each differs from its
/// resolved path.
void locationNamedAsGiven(CheckContext& context) {
    const IProvider& provider = context.provider();
    makeFile(provider, context.at(u"f"), "bytes");
    provider.doCreateFolder(context.at(u"d"));
    const StorageIRI missing = alias(context.at(u"missing"));
    const StorageIRI free = context.at(u"free");
    const StorageIRI file = alias(context.at(u"f"));
    const auto expectNamed = [&](ErrorCode code, const StorageIRI& named,
                                 const std::function<void()>& action) {
        expectRefusal(
            context, action, code, named,
            fmt::format("an operation at {}, given by another path,", printable(named.getResolvedPath())));
    };
    constexpr auto refuse = ReplacementPolicy::RefuseExisting;
    for (const auto& action : std::initializer_list<std::function<void()>>{
             [&] { provider.doRemoveFile(missing); },
             [&] { provider.doRemoveFolder(missing); },
             [&] { provider.doRemoveFolderRecursively(missing); },
             [&] { provider.doGetFileAttributes(missing); },
             [&] { provider.doGetFolderAttributes(missing); },
             [&] { provider.doGetExtendedAttributes(missing); },
             [&] { provider.doOpenReadOnlyStream(missing); },
             [&] { provider.doOpenStream(missing, ByteStreamOpenOptions::readWriteExisting()); },
             [&] { provider.doListAll(missing); },
             [&] { provider.doListFiles(missing); },
             [&] { provider.doListFolders(missing); },
             [&] { provider.doListAllRecursive(missing); },
             [&] { provider.doSetLastModified(missing, pastTime()); },
             [&] { provider.doTruncateToSize(missing, 1); },
             [&] { provider.doMoveFile(missing, free, refuse); },
             [&] { provider.doMoveFolder(missing, free, refuse); },
             [&] { provider.doCopyFile(missing, free, refuse); },
         }) {
        expectNamed(ErrorCode::NotFound, missing, action);
    }
    makeFile(provider, context.at(u"g"), "bytes");
    for (const auto& action : std::initializer_list<std::function<void()>>{
             [&] { provider.doCreateFile(file); },
             [&] { provider.doCreateFolder(file); },
             [&] { provider.doMoveFile(context.at(u"g"), file, refuse); },
             [&] { provider.doMoveFolder(context.at(u"d"), file, refuse); },
             [&] { provider.doCopyFile(context.at(u"g"), file, refuse); },
         }) {
        expectNamed(ErrorCode::AlreadyExists, file, action);
    }
    const StorageIRI below = alias(context.at(u"missing/below"));
    expectNamed(ErrorCode::NotFound, below, [&] { provider.doCreateFile(below); });
    expectNamed(ErrorCode::NotFound, below, [&] { provider.doCreateFolder(below); });
    expectNamed(ErrorCode::NotFound, below, [&] { provider.doOpenStream(below, {}); });
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

bool isCaseSensitive(CheckContext& context) {
    return context.provider().doGetFilenameSensitivity(context.at(u"")) == FilenameSensitivity::CaseSensitive;
}

/// Whether a name contains a character that may have another case. Lower-case ASCII letters do not count. The
/// blocks cover all scripts with case; a high surrogate represents its planes.
bool mayHaveCase(std::u16string_view name) {
    static constexpr std::array<std::pair<char16_t, char16_t>, 19> blocks{{{u'A', u'Z'},
                                                                           {0xB5, 0xB5},
                                                                           {0xC0, 0x2FF},
                                                                           {0x345, 0x345},
                                                                           {0x370, 0x58F},
                                                                           {0x10A0, 0x10FF},
                                                                           {0x13A0, 0x13FF},
                                                                           {0x1C80, 0x1CBF},
                                                                           {0x1D00, 0x1DBF},
                                                                           {0x1E00, 0x1FFF},
                                                                           {0x2071, 0x2071},
                                                                           {0x2090, 0x218F},
                                                                           {0x24B6, 0x24E9},
                                                                           {0x2C00, 0x2DFF},
                                                                           {0xA640, 0xA7FF},
                                                                           {0xAB30, 0xABBF},
                                                                           {0xD800, 0xDBFF},
                                                                           {0xFB00, 0xFB17},
                                                                           {0xFF21, 0xFF5A}}};
    return std::any_of(name.begin(), name.end(), [](char16_t unit) {
        return std::any_of(blocks.begin(), blocks.end(),
                           [unit](const auto& block) { return unit >= block.first && unit <= block.second; });
    });
}

/// Names that a storage confuses if it truncates, trims, decodes, case-folds, normalizes or replaces
/// characters, or if it treats some names specially. Each list is for one folder.
std::vector<Names> lookAlikes(CheckContext& context) {
    std::vector<Names> lists{
        {u"a", u"a ", u" a", u"a.", u"a..", u"a\t", u"\ta", u"a\n", u"a\u00A0", u"a\u200B", u"\uFEFFa"},
        {u"a b", u"a%20b", u"a+b", u"a_b", u"a-b", u"a\\x20b", u"a&#32;b", u"a=20b", u"a  b", u"a   b"},
        {u"%", u"%%", u"%25", u"a%2Fb", u"a%252Fb", u"%41", u"%C3%A9", u"~1"},
        {u"a?", u"a*", u"a:", u"a<", u"a>", u"a|", u"a\"", u"a\\", u"a;1", u"a_", u"a\uFFFD"},
        {u"a&b", u"a&amp;b", u"a&#38;b", u"a\\u0026b", u"a%26b", u"a''b", u"a'b", u"a\\'b"},
        {u"~", u"~a", u"$a", u"${a}", u"$HOME", u"%a%", u"`a`", u"'a'", u"\"a\"", u"a", u"home"},
        {u"7", u"07", u"007", u"7.0", u"+7", u"0x7", u"7e0", u"1e1", u"10", u"-0", u"0"},
        {u"con", u"con.txt", u"nul", u"aux", u"prn", u"com1", u"lpt1.txt", u"null", u"true"},
        {u"a.tmp", u"a.bak", u"a~", u"a.swp", u"a.part", u"a.lnk", u"#a#", u".a.swp", u"._a", u".ds_store"},
        {u"thumbs.db", u"desktop.ini", u"lost+found", u".trash", u".nfs01", u".fuse_hidden1", u".copy-1"},
        {u"\u00E9", u"e\u0301", u"e"},
        {u"\uFB01", u"fi", u"\u2460", u"1", u"\u00B2", u"2", u"\u2163", u"iv", u"\u00DF", u"ss"},
        {u"\uFF41", u"a", u"\uFF0E", u"\u2126", u"\u03A9", u"a\u00AD", u"a\u200D", u"a\uFE0F", u"a\u202E"},
        {u"\u212B", u"\u00C5", u"A\u030A"},
        {u"\uAC00", u"\u1100\u1161", u"\u304C", u"\u304B\u3099", u"\u0958", u"\u0915\u093C"},
        {u"\u1112\u1161\u11AB", u"\uD55C", u"e\u0323\u0301", u"e\u0301\u0323", u"\u1EB9\u0301"},
        {u"\u0622", u"\u0627\u0653", u"q\u0323\u0307", u"q\u0307\u0323", u"\u05D1", u"\u05D1\u05BC"},
        {u"\u03C3", u"\u03C2"},
        {u"\u0E33", u"\u0E4D\u0E32", u"\U0001F44D", u"\U0001F44D\U0001F3FB"},
        {u"i", u"\u0131"},
        {u"README"},
        {u"Readme.TXT"},
        {std::u16string(1, u'\xD800'), std::u16string(1, u'\xDC00'), std::u16string(1, u'\xDC80'), u"\uFFFD"},
        {u"a", std::u16string(u"a\0b", 3), std::u16string(u"a\0c", 3)},
        {u"a.text", u"a.tex", u"a.te", u"longer-name-1.txt", u"longer-name-2.txt"},
    };
    for (const std::size_t length : std::initializer_list<std::size_t>{
             8, 14, 31, 63, 64, 100, 127, 143, 200, 240, 251, 254, 255, 256, 300, 1000, 2000, 5000, 10'000}) {
        const std::u16string name(length, u'n');
        lists.push_back({name, name + u"1", name + u"2", name + u"\u00E9"});
    }
    if (!isCaseSensitive(context)) { // names that may be equal except for case do not share a folder
        std::vector<Names> alone;
        for (Names& names : lists) {
            const auto others = std::stable_partition(names.begin(), names.end(),
                                                      [](const auto& name) { return !mayHaveCase(name); });
            for (auto each = others; each != names.end(); ++each) {
                alone.push_back({*each});
            }
            names.erase(others, names.end());
        }
        lists.insert(lists.end(), alone.begin(), alone.end());
    }
    return lists;
}

std::u16string utf16Of(char32_t character) {
    if (character < 0x10000) {
        return {static_cast<char16_t>(character)};
    }
    return {static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10U)),
            static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FFU))};
}

/// One name for each character of the blocks that storages treat specially, and for a thousand random others.
/// ASCII punctuation also begins a name and is doubled. In a storage that ignores case, only names without
/// case.
Names namesOfEveryCharacter(CheckContext& context) {
    Names names;
    for (const auto& [first, last] : std::initializer_list<std::pair<char32_t, char32_t>>{
             {0x1, 0x6FF},       // ASCII, Latin, combining marks, Greek, Cyrillic, Hebrew, Arabic
             {0x1E00, 0x24FF},   // more Latin and Greek, invisible and compatibility characters
             {0x3000, 0x33FF},   // Chinese, Japanese and Korean compatibility characters
             {0xF900, 0xFFFF},   // presentation forms, variation selectors, noncharacters
             {0x10400, 0x1044F}, // letters with case outside the basic multilingual plane
             {0x1D400, 0x1D433}, // compatibility characters there
         }) {
        for (char32_t character = first; character <= last; ++character) {
            names.push_back(std::u16string(u"x").append(utf16Of(character)));
        }
    }
    for (int i = 0; i < 1000; ++i) {
        const auto character = static_cast<char32_t>(0x700 + context.random()() % 0x1F000);
        const bool isSurrogate = character >= 0xD800 && character < 0xE000;
        names.push_back(std::u16string(u"x").append(utf16Of(isSurrogate ? character - 0x800 : character)));
    }
    for (char16_t unit = 1; unit < 0x7F; ++unit) {
        if (unit < u'0' || (unit > u'9' && unit < u'A') || (unit > u'Z' && unit < u'a') || unit > u'z') {
            names.push_back(std::u16string(1, unit) + u"x");
            names.push_back(std::u16string(u"x").append(2, unit).append(u"x"));
        }
    }
    const bool caseSensitive = isCaseSensitive(context);
    std::erase_if(names, [&](const std::u16string& name) {
        return name.find(u'/') != std::u16string::npos || (!caseSensitive && mayHaveCase(name));
    });
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

/// A name for messages.
std::string brief(const std::u16string& name) {
    constexpr std::size_t longest = 60;
    return name.size() <= longest
               ? printable(name)
               : fmt::format("{}... ({} code units)", printable(name.substr(0, longest)), name.size());
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
                       occasion, seen.size(), expected.size(), brief(listed == seen.end() ? u"" : *listed),
                       brief(made == expected.end() ? u"" : *made)));
}

/// @return whether the storage accepted the name; otherwise expects NotFound with the location, or an error
///         of the underlying system
template <const EntryKind& kind>
bool isCreated(CheckContext& context, const std::u16string& name) {
    const IProvider& provider = context.provider();
    expect(!provider.doFileExists(context.at(name)) && !provider.doFolderExists(context.at(name)),
           fmt::format("\"{}\" exists before it is created", brief(name)));
    try {
        (provider.*kind.create)(context.at(name));
        return true;
    } catch (const Exception& refusal) {
        expect(refusal.getErrorCode() == ErrorCode::NotFound && refusal.getIRI() == context.at(name),
               fmt::format(R"(a new {} called "{}" is refused with "{}", not with NotFound naming it)",
                           kind.name, brief(name), Exception::describe(refusal.getErrorCode())));
    } catch (const SystemError&) { // allowed
    }
    expect(!(provider.*kind.exists)(context.at(name)),
           fmt::format("the {} \"{}\" was refused, but exists", kind.name, brief(name)));
    return false;
}

/// Creates an entry with each name, expects exactly these in the listing, and removes them.
template <const EntryKind& kind>
void expectApart(CheckContext& context, const Names& names) {
    const IProvider& provider = context.provider();
    Names taken;
    std::copy_if(names.begin(), names.end(), std::back_inserter(taken),
                 [&](const std::u16string& name) { return isCreated<kind>(context, name); });
    expectListed(context, taken, fmt::format("after creating {}s", kind.name));
    constexpr auto type = &kind == &fileKind ? FolderEntry::EntryType::File : FolderEntry::EntryType::Folder;
    for (const FolderEntry& entry : readEntries(provider.doListAll(context.at(u"")))) {
        expect(entry.getType() == type,
               fmt::format("the {} \"{}\" is listed as another kind", kind.name, brief(entry.getName())));
    }
    for (const std::u16string& name : taken) {
        (provider.*kind.remove)(context.at(name));
    }
    expectListed(context, {}, "after removing them");
}

template <const EntryKind& kind>
void lookAlikesAreApart(CheckContext& context) {
    for (const Names& names : lookAlikes(context)) {
        expectApart<kind>(context, names);
    }
}

void charactersAreApart(CheckContext& context) {
    const Names names = namesOfEveryCharacter(context);
    expectApart<fileKind>(context, names);
    expectApart<folderKind>(context, names);
}

void onlyTheSlashSeparates(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"d"));
    provider.doCreateFile(context.at(u"d/f"));
    for (const char16_t separator : std::u16string_view(
             u"\\:;|!@#?&=,.+~%$^*<>\t\n \u00A5\u2044\u2215\u2216\u29F8\u29F9\uFE68\uFF0F\uFF3C")) {
        for (const std::size_t count : {1U, 2U}) {
            const auto name = std::u16string(u"d").append(count, separator).append(u"f");
            if (isCreated<fileKind>(context, name)) {
                expectListed(context, {u"d", name}, "after creating a file beside a folder");
                provider.doRemoveFile(context.at(name));
            }
            expect(provider.doListAllNamesOnly(context.at(u"d")) == Names{u"f"},
                   fmt::format(R"(a file called "{}" changes the folder "d")", printable(name)));
        }
    }
}

void everyOperationTakesTheSameName(CheckContext& context) {
    const IProvider& provider = context.provider();
    const auto move = [&](auto operation, const std::u16string& from, const std::u16string& to) {
        (provider.*operation)(context.at(from), context.at(to), ReplacementPolicy::RefuseExisting);
        expectListed(context, {to}, "after a move");
    };
    for (const Names& names : lookAlikes(context)) {
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
        any, caseAsReported},
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
          "Paths with one and with two slashes between names lead to different entries of the same folder.",
          inMemory, innerSlashes},
    Check{"4.14", "paths.relative",
          "A path without a leading slash is in no folder; but if its second code unit is a slash, it begins "
          "there.",
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
    Check{"4.22", "paths.characters-are-apart",
          "A name with any character is refused with NotFound, or listed unchanged and distinct from others.",
          any, charactersAreApart},
    Check{"4.23", "paths.only-the-slash-separates",
          "Only the slash separates names: a file beside a folder is never in it.", any,
          onlyTheSlashSeparates},
};

} // namespace
} // namespace path_checks

std::span<const Check> paths() {
    return path_checks::table;
}

} // namespace storage::host::checks
