#pragma once

#include "host/session/Session.h"
#include "host/shell/LineSource.h"
#include "host/support/Interruption.h"

#include <histedit.h>
#include <memory>
#include <string>

namespace storage::host {

/// Lines that a person types, with line editing and a history that lasts as long as this object.
///
/// Owns the editor of the process's terminal; borrows session (for the prompt) and interruption. At most one
/// object may exist at a time. Thread safety: for the main thread.
class TerminalLineSource final : public LineSource {
public:
    TerminalLineSource(const Session& session, const Interruption& interruption);

    std::optional<std::string> next() override;

private:
    struct EditorCloser {
        void operator()(EditLine* editor) const { ::el_end(editor); }
    };
    struct HistoryCloser {
        void operator()(History* history) const { ::history_end(history); }
    };

    static char* prompt(EditLine* editor);
    void remember(const std::string& line);

    const Session& session_;
    const Interruption& interruption_;
    std::string prompt_;
    std::unique_ptr<History, HistoryCloser> history_;
    std::unique_ptr<EditLine, EditorCloser> editor_;
};

} // namespace storage::host
