#pragma once

#include "host/session/Session.h"
#include "host/shell/Command.h"
#include "host/shell/CommandLineLexer.h"
#include "host/shell/LineSource.h"
#include "host/support/ExitStatus.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace storage::host {

/// What happens to the following lines after a command fails.
enum class FailureHandling {
    Stop,        ///< they are not run
    KeepGoing,   ///< they are run, but the final status reports the failure
    Interactive, ///< they are run: the user has seen the failure and goes on
};

/// Runs command lines in a session.
///
/// Borrows the table of commands and the session. Not thread-safe.
class Shell {
public:
    /// @param commands  the commands that lines can use
    Shell(std::span<const CommandInfo> commands, Session& session, FailureHandling failureHandling)
        : commands_(commands), session_(session), failureHandling_(failureHandling) {}

    /// Runs lines until they or the session end, or a failure stops them.
    /// @throws OutputError when the output cannot be written
    ExitStatus run(LineSource& lines);

    /// Runs one line. Failures have been reported when this returns.
    /// @throws OutputError when the output cannot be written
    ExitStatus execute(std::string_view line);

private:
    ExitStatus runNext(LineSource& lines);
    void runLine(std::string_view line);
    std::vector<std::string> expand(const std::vector<Word>& words, const CommandSyntax& syntax);
    void runCommand(const CommandInfo& info, std::vector<Word> words);
    std::string place() const;
    bool stopsAt(ExitStatus status) const;

    const std::span<const CommandInfo> commands_;
    Session& session_;
    const FailureHandling failureHandling_;
    unsigned long long lineNumber_ = 0;
    bool linesEnded_ = false;
};

} // namespace storage::host
