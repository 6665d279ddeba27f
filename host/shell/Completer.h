#pragma once

#include "host/session/Session.h"
#include "host/shell/Command.h"
#include "host/shell/CommandSyntax.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace storage::host {

class PathLookup;

/// Completes the word before the cursor: a command name, or a path in the storage or on the disk, according
/// to the command's syntax. If storages have names, completes these too. Quotes the added text like the word,
/// or with backslashes if the word is not quoted.
///
/// Skips names that cannot be typed: those with control characters, and those that are not UTF-8.
///
/// Borrows the table of commands and the session. Not thread-safe.
class Completer {
public:
    struct Completion {
        std::string insertion;               ///< text to insert at the cursor, common to all candidates
        std::vector<std::string> candidates; ///< sorted; folders end in a slash
    };

    Completer(std::span<const CommandInfo> commands, const Session& session)
        : commands_(commands), session_(session) {}

    /// @param line  the line up to the cursor
    Completion complete(std::string_view line) const;

private:
    enum class Quotes { None, Single, Double };
    /// The beginning of a line, up to the cursor.
    struct Beginning {
        std::vector<Word> words; ///< the last one is the word to complete; it may be empty
        Quotes quotes;           ///< open quotes at the cursor
    };

    static std::optional<Beginning> read(std::string_view line);
    static std::string quoted(std::string_view text, Quotes quotes);
    static Completion completion(std::string_view prefix, std::vector<std::string> candidates, Quotes quotes);
    Completion pathCompletion(const PathLookup& lookup, const std::string& word, Quotes quotes) const;
    WordKind kindOfLast(std::vector<Word> words) const;
    std::vector<std::string> commandsWith(std::string_view prefix) const;
    static std::vector<std::string> namesWith(const PathLookup& lookup, const std::string& folder,
                                              std::string_view prefix);

    const std::span<const CommandInfo> commands_;
    const Session& session_;
};

} // namespace storage::host
