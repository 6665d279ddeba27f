#include "host/shell/Shell.h"

#include "host/console/RunReported.h"
#include "host/shell/CommandLineLexer.h"
#include "host/shell/Glob.h"
#include "host/storage/FailureCause.h"
#include "host/support/Interruption.h"
#include "host/support/UsageError.h"

#include <csignal>
#include <fmt/format.h>
#include <utility>

namespace storage::host {

using foundation::storage::provider::Exception;
using foundation::storage::provider::IProvider;

namespace {

/// As long as it lives, failures of the storage are reported with the cause that the storage shows.
class DiagnosisScope {
public:
    DiagnosisScope(Console& console, const IProvider& provider) : console_(console) {
        console_.setDiagnosis([&provider](const Exception& error) { return causeOf(error, provider); });
    }
    DiagnosisScope(const DiagnosisScope&) = delete;
    DiagnosisScope& operator=(const DiagnosisScope&) = delete;
    ~DiagnosisScope() { console_.setDiagnosis(Failure::reasonOf); }

private:
    Console& console_;
};

} // namespace

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
        if (failureHandling_ == FailureHandling::AskPerson && interruption_.pending() == SIGINT) {
            interruption_.clear(); // it was meant for the command that has ended
        }
    }
    return result;
}

/// Reading a line can fail like running one.
ExitStatus Shell::runNext(LineSource& lines) {
    std::optional<std::string> line;
    session_.console().beginCommand("");
    try {
        interruption_.check();
        session_.console().attempt("", [&] { line = lines.next(); });
    } catch (const Interrupted&) { // without a message: no command has been interrupted
        return ExitStatus::Interrupted;
    }
    if (!line) {
        linesEnded_ = true;
        return session_.console().failuresOfCommand() == 0 ? ExitStatus::Success : ExitStatus::Failure;
    }
    ++lineNumber_;
    return execute(*line);
}

ExitStatus Shell::execute(std::string_view line) {
    Console& console = session_.console();
    const DiagnosisScope diagnosis(console, session_.provider());
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
    std::vector<std::string> expanded = expand(std::span(words).subspan(1));
    if (session_.console().failuresOfCommand() == 0) {
        runCommand(*info, std::move(expanded));
    }
}

/// The words with their patterns replaced by what matches. A provider that fails here fails the command.
std::vector<std::string> Shell::expand(std::span<const Word> words) {
    std::vector<std::string> expanded;
    const Glob glob(session_.provider(), session_.currentFolder());
    for (const Word& word : words) {
        session_.console().attempt(word.text, [&] {
            for (std::string& text : glob.expand(word)) {
                expanded.push_back(std::move(text));
            }
        });
    }
    return expanded;
}

void Shell::runCommand(const CommandInfo& info, std::vector<std::string> words) {
    const auto command = info.make();
    CommandSyntax syntax(info.name, info.synopsis, info.summary);
    command->declare(syntax);
    const auto operands = syntax.parse(command->arrange(std::move(words)));
    if (operands) {
        command->run(session_, *operands);
    } else {
        session_.console().out() << syntax.help();
    }
}

/// Where a line stands that cannot be named by its command.
std::string Shell::place() const {
    return failureHandling_ == FailureHandling::AskPerson ? "" : fmt::format("line {}: ", lineNumber_);
}

bool Shell::stopsAt(ExitStatus status) const {
    if (status == ExitStatus::Interrupted) {
        return failureHandling_ != FailureHandling::AskPerson || interruption_.pending() != SIGINT;
    }
    return status != ExitStatus::Success && failureHandling_ == FailureHandling::Stop;
}

} // namespace storage::host
