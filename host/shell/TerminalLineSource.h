#pragma once

#include "host/session/Session.h"
#include "host/shell/Completer.h"
#include "host/shell/HistoryFile.h"
#include "host/shell/LineSource.h"
#include "host/support/Interruption.h"

#include <functional>
#include <histedit.h>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace storage::host {

/// Lines that a person types, with line editing, completion by Tab, and a history that may be kept in a file.
///
/// Owns the editor of the process's terminal; borrows the table of commands, session (for the prompt and completion) and
/// interruption. At most one object may exist at a time. Thread safety: for the main thread.
class TerminalLineSource final : public LineSource {
public:
    /// @param commands  what a line can name
    /// @param history   where lines are kept for later sessions; nothing if they are not to be
    TerminalLineSource(std::span<const CommandInfo> commands, const Session& session,
                       const Interruption& interruption, std::optional<HistoryFile> history);

    std::optional<std::string> next() override;

private:
    struct EditorCloser {
        void operator()(EditLine* editor) const { ::el_end(editor); }
    };
    struct HistoryCloser {
        void operator()(History* history) const { ::history_end(history); }
    };

    static TerminalLineSource& ownerOf(EditLine* editor);
    static char* prompt(EditLine* editor);
    static unsigned char complete(EditLine* editor, int key);
    unsigned char completeWord();
    static void show(const std::vector<std::string>& candidates);
    void recall(const std::string& line);
    void remember(const std::string& line);
    void useHistoryFile(const std::function<void(const HistoryFile& file)>& step);

    const Session& session_;
    const Interruption& interruption_;
    const Completer completer_;
    std::optional<HistoryFile> historyFile_; ///< until it fails
    std::string prompt_;
    std::unique_ptr<History, HistoryCloser> history_;
    std::unique_ptr<EditLine, EditorCloser> editor_;
};

} // namespace storage::host
