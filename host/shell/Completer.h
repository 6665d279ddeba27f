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

/// Completes the word before the cursor: the name of a command, or a path of the storage or of the disk, as the command
/// takes it. Where storages have names, their prefixes are completed, too. What it adds is quoted like the word, or else by backslashes.
///
/// Names with control characters, and those that are not UTF-8, cannot be typed and are left out.
///
/// Borrows the table of commands and the session. Thread safety: one object is for one thread.
class Completer {
public:
    struct Completion {
        std::string insertion;               ///< what all candidates have in common, to be put at the cursor
        std::vector<std::string> candidates; ///< sorted; folders end in a slash
    };

    Completer(std::span<const CommandInfo> commands, const Session& session)
        : commands_(commands), session_(session) {}

    /// @param line  the line up to the cursor
    Completion complete(std::string_view line) const;

private:
    enum class Quotes { None, Single, Double };
    /// A line that may break off in a word.
    struct Beginning {
        std::vector<Word> words; ///< the last one is the word to be completed, which may be empty
        Quotes quotes;           ///< what is open at the cursor
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
