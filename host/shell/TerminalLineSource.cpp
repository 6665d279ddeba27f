#include "host/shell/TerminalLineSource.h"

#include "host/support/CommandError.h"

#include <clocale>
#include <cstdio>

namespace storage::host {

namespace {

constexpr int historySize = 1000;
constexpr int on = 1;

} // namespace

TerminalLineSource::TerminalLineSource(const Session& session, const Interruption& interruption)
    : session_(session), interruption_(interruption), history_(::history_init()) {
    std::setlocale(LC_CTYPE, "C.UTF-8"); // the language is UTF-8 in every locale
    editor_.reset(::el_init("qzstorage", stdin, stdout, stderr));
    if (!history_ || !editor_) {
        throw CommandError("terminal", "line editing is not possible");
    }
    HistEvent event{};
    ::history(history_.get(), &event, H_SETSIZE, historySize);
    ::history(history_.get(), &event, H_SETUNIQUE, on);
    ::el_set(editor_.get(), EL_CLIENTDATA, this);
    ::el_set(editor_.get(), EL_PROMPT, &TerminalLineSource::prompt);
    ::el_set(editor_.get(), EL_EDITOR, "emacs");
    ::el_set(editor_.get(), EL_SIGNAL, on);
    ::el_set(editor_.get(), EL_HIST, ::history, history_.get());
    ::el_source(editor_.get(), nullptr);
}

std::optional<std::string> TerminalLineSource::next() {
    prompt_ = "qzstorage:" + session_.currentFolder().printed() + "> ";
    int length = 0;
    const char* const text = ::el_gets(editor_.get(), &length);
    if (text == nullptr || length <= 0) {
        std::fputs("\n", stdout);
        std::fflush(stdout);
        interruption_.check();
        return std::nullopt;
    }
    std::string line(text, static_cast<std::size_t>(length));
    if (line.ends_with('\n')) {
        line.pop_back();
    }
    remember(line);
    return line;
}

char* TerminalLineSource::prompt(EditLine* editor) {
    void* self = nullptr;
    ::el_get(editor, EL_CLIENTDATA, &self);
    return static_cast<TerminalLineSource*>(self)->prompt_.data();
}

void TerminalLineSource::remember(const std::string& line) {
    if (line.find_first_not_of(" \t") != std::string::npos) {
        HistEvent event{};
        ::history(history_.get(), &event, H_ENTER, line.c_str());
    }
}

} // namespace storage::host
