#pragma once

#include "host/CommandInfo.h"
#include "host/ExitStatus.h"
#include "host/FailureHandling.h"
#include "host/Interruption.h"
#include "host/LineSource.h"
#include "host/Session.h"
#include "host/Word.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace storage::host {

/// Runs the lines of the language in a session.
///
/// Borrows session and interruption. Thread safety: one object is for one thread.
class Shell {
public:
    Shell(Session& session, Interruption& interruption, FailureHandling failureHandling)
        : session_(session), interruption_(interruption), failureHandling_(failureHandling) {}

    /// Runs lines until they or the session end, or a failure stops them.
    /// @throws OutputError when nobody takes the output any more
    ExitStatus run(LineSource& lines);

    /// Runs one line. What goes wrong has been reported when this returns.
    /// @throws OutputError when nobody takes the output any more
    ExitStatus execute(std::string_view line);

private:
    ExitStatus runNext(LineSource& lines);
    void runLine(std::string_view line);
    std::vector<std::string> expand(std::span<const Word> words);
    void runCommand(const CommandInfo& info, std::vector<std::string> words);
    std::string place() const;
    bool stopsAt(ExitStatus status) const;

    Session& session_;
    Interruption& interruption_;
    const FailureHandling failureHandling_;
    unsigned long long lineNumber_ = 0;
    bool linesEnded_ = false;
};

} // namespace storage::host
