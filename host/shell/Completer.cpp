#include "host/shell/Completer.h"

#include "host/shell/DiskLookup.h"
#include "host/shell/StorageLookup.h"
#include "host/shell/TildeExpansion.h"
#include "host/support/UsageError.h"
#include "host/support/Utf.h"

#include <algorithm>
#include <utility>

namespace storage::host {

namespace {

constexpr char cursor = '\0'; ///< ends the incomplete word, so that an empty word is found too

/// Returns the longest common prefix of all texts, in whole characters.
std::string commonPrefix(const std::vector<std::string>& texts) {
    const auto [first, last] = std::minmax_element(texts.begin(), texts.end());
    auto length = static_cast<std::size_t>(
        std::mismatch(first->begin(), first->end(), last->begin(), last->end()).first - first->begin());
    while (length < first->size() && length > 0 && isInsideCharacter((*first)[length])) {
        --length;
    }
    return first->substr(0, length);
}

} // namespace

Completer::Completion Completer::complete(std::string_view line) const {
    const auto beginning = read(line);
    if (!beginning || printable(beginning->words.back().text) != beginning->words.back().text) {
        return {};
    }
    const Word& last = beginning->words.back();
    const std::string& word = last.text;
    switch (kindOfLast(beginning->words)) {
    case WordKind::Storage:
        return pathCompletion(StorageLookup(session_), word, beginning->quotes);
    case WordKind::Disk:
        return pathCompletion(DiskLookup(), expandTilde(last).text, beginning->quotes);
    case WordKind::Command:
        return completion(word, commandsWith(word), beginning->quotes);
    case WordKind::Text:
        break;
    }
    return {};
}

Completer::Completion Completer::pathCompletion(const PathLookup& lookup, const std::string& word,
                                                Quotes quotes) const {
    const std::size_t nameBegin =
        std::max(word.rfind('/') + 1, lookup.prefixLength(word)); // 0 if there is none
    const std::string name = word.substr(nameBegin);
    std::vector<std::string> candidates = namesWith(lookup, word.substr(0, nameBegin), name);
    if (nameBegin == 0) {
        // Without a leading "./" these names would select a storage.
        std::erase_if(candidates, [&](const std::string& found) { return lookup.prefixLength(found) > 0; });
        for (const auto& storage : session_.storages()) {
            const std::string root = storage->name() + ":/";
            if (lookup.prefixLength(root) > 0 && root.starts_with(word)) {
                candidates.push_back(root);
            }
        }
    }
    return completion(name, std::move(candidates), quotes);
}

/// Returns nothing where no word can be completed: in a comment, after a backslash, or if the line is
/// malformed.
std::optional<Completer::Beginning> Completer::read(std::string_view line) {
    constexpr std::pair<const char*, Quotes> endings[] = {
        {"", Quotes::None}, {"'", Quotes::Single}, {"\"", Quotes::Double}};
    for (const auto& [ending, quotes] : endings) {
        const std::string closed = std::string(line) + cursor + ending;
        try {
            Beginning beginning{CommandLineLexer(closed).words(), quotes};
            std::vector<Word>& words = beginning.words;
            if (words.empty() || !words.back().text.ends_with(cursor)) {
                return std::nullopt; // in a comment
            }
            if (quotes == Quotes::None && words.back().quoted.back()) {
                return std::nullopt; // after a backslash
            }
            words.back().text.pop_back();
            words.back().quoted.pop_back();
            return beginning;
        } catch (const UsageError&) { // a quote is open, possibly the one that is tried next
        }
    }
    return std::nullopt;
}

WordKind Completer::kindOfLast(std::vector<Word> words) const {
    if (words.size() == 1) {
        return WordKind::Command;
    }
    const CommandInfo* const info = findCommand(commands_, words.front().text);
    if (info == nullptr) {
        return WordKind::Text;
    }
    const auto command = info->make();
    CommandSyntax syntax(info->name, info->synopsis, info->summary);
    command->declare(syntax);
    words.erase(words.begin());
    std::vector<std::string> texts;
    for (const Word& word : command->arrange(std::move(words))) {
        texts.push_back(word.text);
    }
    // A command that rearranges its words inserts "--" before them or after the first one.
    return texts.back() == "--" && texts.size() > 1 ? syntax.kinds({texts.front()}).front()
                                                    : syntax.kinds(texts).back();
}

std::vector<std::string> Completer::commandsWith(std::string_view prefix) const {
    std::vector<std::string> names;
    for (const CommandInfo& command : commands_) {
        if (command.name.starts_with(prefix)) {
            names.emplace_back(command.name);
        }
    }
    return names;
}

std::vector<std::string> Completer::namesWith(const PathLookup& lookup, const std::string& folder,
                                              std::string_view prefix) {
    std::vector<std::string> names;
    for (std::string& name : lookup.names(folder, PathLookup::Wanted::All)) {
        if (!name.starts_with(prefix) || printable(name) != name) {
            continue;
        }
        // Without a slash, a name with a colon would select a storage.
        if (lookup.exists((folder.empty() ? "./" : folder) + name, PathLookup::Wanted::Folders)) {
            name += '/';
        }
        names.push_back(std::move(name));
    }
    return names;
}

Completer::Completion Completer::completion(std::string_view prefix, std::vector<std::string> candidates,
                                            Quotes quotes) {
    if (candidates.empty()) {
        return {};
    }
    std::sort(candidates.begin(), candidates.end());
    std::string insertion = quoted(commonPrefix(candidates).substr(prefix.size()), quotes);
    if (candidates.size() == 1 && !candidates.front().ends_with('/')) {
        insertion += quotes == Quotes::Single ? "' " : quotes == Quotes::Double ? "\" " : " ";
    }
    return {std::move(insertion), std::move(candidates)};
}

std::string Completer::quoted(std::string_view text, Quotes quotes) {
    constexpr std::string_view specialInDoubleQuotes = "$`\"\\";
    constexpr std::string_view special = " \t'\"\\#*?|<>&;~";
    std::string result;
    for (const char character : text) {
        if (quotes == Quotes::Single) {
            result += character == '\'' ? std::string(R"('\'')") : std::string(1, character);
            continue;
        }
        const auto& escaped = quotes == Quotes::Double ? specialInDoubleQuotes : special;
        result += escaped.find(character) != std::string_view::npos ? "\\" : "";
        result += character;
    }
    return result;
}

} // namespace storage::host
