#pragma once

#include "host/session/Session.h"
#include "host/shell/Completer.h"
#include "host/shell/HistoryFile.h"
#include "host/shell/LineSource.h"

#include <functional>
#include <histedit.h>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace storage::host {

/// Lines typed at the terminal, with line editing, completion by Tab, and an optional history file.
///
/// Owns the editor of the process's terminal. Borrows the table of commands and the session (for the
/// prompt and completion). At most one object may exist at a time. Use it in the main thread only.
class TerminalLineSource final : public LineSource {
public:
    /// @param commands  the commands that lines can use
    /// @param history   keeps lines for later sessions; nothing for no file
    TerminalLineSource(std::span<const CommandInfo> commands, const Session& session,
                       std::optional<HistoryFile> history);

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
    const Completer completer_;
    std::optional<HistoryFile> historyFile_; ///< dropped when it fails
    std::string prompt_;
    std::unique_ptr<History, HistoryCloser> history_;
    std::unique_ptr<EditLine, EditorCloser> editor_;
};

} // namespace storage::host
