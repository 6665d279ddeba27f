#include "host/shell/Shell.h"

#include "host/console/DiagnosisScope.h"
#include "host/console/RunReported.h"
#include "host/shell/CommandLineLexer.h"
#include "host/shell/DiskLookup.h"
#include "host/shell/Glob.h"
#include "host/shell/StorageLookup.h"
#include "host/shell/TildeExpansion.h"
#include "host/support/Interruption.h"
#include "host/support/UsageError.h"

#include <csignal>
#include <fmt/format.h>
#include <utility>

namespace storage::host {

ExitStatus Shell::run(LineSource& lines) {
    ExitStatus result = ExitStatus::Success;
    while (!linesEnded_ && !session_.ended()) {
        const ExitStatus status = runNext(lines);
        if (stopsAt(status)) {
            return status;
        }
        if (status != ExitStatus::Success && failureHandling_ == FailureHandling::KeepGoing) {
            result = ExitStatus::Failure;
        }
        if (failureHandling_ == FailureHandling::Interactive && Interruption::pending() == SIGINT) {
            Interruption::clear(); // the user interrupted the command that has ended
        }
    }
    return result;
}

/// A failure to read a line is reported like a failed command.
ExitStatus Shell::runNext(LineSource& lines) {
    std::optional<std::string> line;
    session_.console().beginLine("");
    try {
        Interruption::check();
        session_.console().attempt("", [&] { line = lines.next(); });
    } catch (const Interrupted&) { // without a message: no command has been interrupted
        return ExitStatus::Interrupted;
    }
    if (!line) {
        linesEnded_ = true;
        return session_.console().failuresOfCommand() == 0 ? ExitStatus::Success : ExitStatus::Failure;
    }
    ++lineNumber_;
    session_.console().beginLine(lines.place());
    return execute(*line);
}

ExitStatus Shell::execute(std::string_view line) {
    Console& console = session_.console();
    const DiagnosisScope diagnosis(console, session_.storageOf(session_.currentFolder()).diagnosis());
    console.beginCommand("");
    return runReported(console, [&] {
        runLine(line);
        console.out().flush();
        return console.failuresOfCommand() == 0 ? ExitStatus::Success : ExitStatus::Failure;
    });
}

void Shell::runLine(std::string_view line) {
    std::vector<Word> words;
    try {
        words = CommandLineLexer(line).words();
    } catch (const UsageError& error) {
        throw UsageError(place() + error.what());
    }
    if (words.empty()) {
        return;
    }
    const CommandInfo* const info = findCommand(commands_, words.front().text);
    if (info == nullptr) {
        throw UsageError(fmt::format("{}{}: unknown command (try 'help')", place(), words.front().text));
    }
    session_.console().beginCommand(words.front().text);
    words.erase(words.begin());
    runCommand(*info, std::move(words));
}

/// Replaces "~" and the patterns among the words by paths. If a provider fails here, the command fails.
std::vector<std::string> Shell::expand(const std::vector<Word>& words, const CommandSyntax& syntax) {
    const StorageLookup storage(session_);
    const DiskLookup disk;
    std::vector<std::string> texts;
    texts.reserve(words.size());
    for (const Word& word : words) {
        texts.push_back(word.text);
    }
    const std::vector<WordKind> kinds = syntax.kinds(texts);
    std::vector<std::string> expanded;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (kinds[i] != WordKind::Storage && kinds[i] != WordKind::Disk) {
            expanded.push_back(std::move(texts[i]));
            continue;
        }
        const bool isDisk = kinds[i] == WordKind::Disk;
        const PathLookup& lookup = isDisk ? static_cast<const PathLookup&>(disk) : storage;
        session_.console().attempt(words[i].text, [&] {
            for (std::string& path : Glob(lookup).expand(isDisk ? expandTilde(words[i]) : words[i])) {
                expanded.push_back(std::move(path));
            }
        });
    }
    return expanded;
}

void Shell::runCommand(const CommandInfo& info, std::vector<Word> words) {
    const auto command = info.make();
    CommandSyntax syntax(info.name, info.synopsis, info.summary);
    command->declare(syntax);
    std::vector<std::string> expanded = expand(command->arrange(std::move(words)), syntax);
    if (session_.console().failuresOfCommand() > 0) {
        return;
    }
    const auto operands = syntax.parse(std::move(expanded));
    if (operands) {
        command->run(session_, *operands);
    } else {
        session_.console().out() << syntax.help();
    }
}

/// Returns the line number as a prefix for errors without a command name. Returns an empty string if all
/// errors contain the position anyway.
std::string Shell::place() const {
    const bool isKnown =
        failureHandling_ == FailureHandling::Interactive || !session_.console().place().empty();
    return isKnown ? "" : fmt::format("line {}: ", lineNumber_);
}

bool Shell::stopsAt(ExitStatus status) const {
    if (status == ExitStatus::Interrupted) {
        return failureHandling_ != FailureHandling::Interactive || Interruption::pending() != SIGINT;
    }
    return status != ExitStatus::Success && failureHandling_ == FailureHandling::Stop;
}

} // namespace storage::host
