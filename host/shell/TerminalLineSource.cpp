#include "host/shell/TerminalLineSource.h"

#include "host/support/CommandError.h"
#include "host/support/Interruption.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <fmt/format.h>
#include <utility>

namespace storage::host {

namespace {

constexpr int on = 1;
constexpr std::size_t mostShown = 200; ///< completion candidates

} // namespace

TerminalLineSource::TerminalLineSource(std::span<const CommandInfo> commands, const Session& session,
                                       std::optional<HistoryFile> history)
    : session_(session),
      completer_(commands, session),
      historyFile_(std::move(history)),
      history_(::history_init()) {
    std::setlocale(LC_CTYPE, "C.UTF-8"); // command lines are UTF-8 in every locale
    editor_.reset(::el_init("qzstorage", stdin, stdout, stderr));
    if (!history_ || !editor_) {
        throw CommandError("terminal", "cannot initialize line editing");
    }
    HistEvent event{};
    ::history(history_.get(), &event, H_SETSIZE, static_cast<int>(HistoryFile::kept));
    ::history(history_.get(), &event, H_SETUNIQUE, on);
    ::el_set(editor_.get(), EL_CLIENTDATA, this);
    ::el_set(editor_.get(), EL_PROMPT, &TerminalLineSource::prompt);
    ::el_set(editor_.get(), EL_EDITOR, "emacs");
    ::el_set(editor_.get(), EL_SIGNAL, on);
    ::el_set(editor_.get(), EL_HIST, ::history, history_.get());
    ::el_set(editor_.get(), EL_ADDFN, "complete-word", "Completes a command or a path",
             &TerminalLineSource::complete);
    ::el_set(editor_.get(), EL_BIND, "^I", "complete-word", nullptr);
    ::el_source(editor_.get(), nullptr);
    useHistoryFile([this](const HistoryFile& file) {
        for (const std::string& line : file.load()) {
            recall(line);
        }
    });
}

std::optional<std::string> TerminalLineSource::next() {
    prompt_ = "qzstorage:" + session_.currentFolder().printed() + "> ";
    int length = 0;
    const char* text = ::el_gets(editor_.get(), &length);
    while (text == nullptr || length <= 0) {
        const bool isEnd = length >= 0 || errno != EINTR; // stopping and continuing is not the end
        std::fputs("\n", stdout);
        std::fflush(stdout);
        Interruption::check();
        if (isEnd) {
            return std::nullopt;
        }
        text = ::el_gets(editor_.get(), &length);
    }
    std::string line(text, static_cast<std::size_t>(length));
    if (line.ends_with('\n')) {
        line.pop_back();
    }
    remember(line);
    return line;
}

TerminalLineSource& TerminalLineSource::ownerOf(EditLine* editor) {
    void* self = nullptr;
    ::el_get(editor, EL_CLIENTDATA, &self);
    return *static_cast<TerminalLineSource*>(self);
}

char* TerminalLineSource::prompt(EditLine* editor) {
    return ownerOf(editor).prompt_.data();
}

unsigned char TerminalLineSource::complete(EditLine* editor, int) {
    try {
        return ownerOf(editor).completeWord();
    } catch (...) { // no candidates if the storage fails; an exception must not pass through libedit
        return CC_ERROR;
    }
}

unsigned char TerminalLineSource::completeWord() {
    const LineInfo* const line = ::el_line(editor_.get());
    const auto length = static_cast<std::size_t>(line->cursor - line->buffer);
    const auto [insertion, candidates] = completer_.complete({line->buffer, length});
    if (!insertion.empty()) {
        return ::el_insertstr(editor_.get(), insertion.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
    }
    if (candidates.empty()) {
        return CC_ERROR;
    }
    show(candidates);
    return CC_REDISPLAY;
}

void TerminalLineSource::show(const std::vector<std::string>& candidates) {
    std::string text = "\n";
    for (std::size_t i = 0; i < std::min(candidates.size(), mostShown); ++i) {
        text += candidates[i] + "  ";
    }
    if (candidates.size() > mostShown) {
        text += fmt::format("and {} more", candidates.size() - mostShown);
    }
    text += '\n';
    std::fputs(text.c_str(), stdout);
    std::fflush(stdout);
}

void TerminalLineSource::recall(const std::string& line) {
    HistEvent event{};
    ::history(history_.get(), &event, H_ENTER, line.c_str());
}

void TerminalLineSource::remember(const std::string& line) {
    if (line.find_first_not_of(" \t") != std::string::npos) {
        recall(line);
        useHistoryFile([&line](const HistoryFile& file) { file.add(line); });
    }
}

/// A failure of the history file is reported once and ends its use.
void TerminalLineSource::useHistoryFile(const std::function<void(const HistoryFile& file)>& step) {
    if (!historyFile_) {
        return;
    }
    try {
        step(*historyFile_);
    } catch (const CommandError& error) {
        session_.console().notice(error.path(), std::string("the history is not saved: ") + error.what());
        historyFile_.reset();
    }
}

} // namespace storage::host
