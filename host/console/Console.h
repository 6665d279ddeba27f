#pragma once

#include "host/support/Failure.h"

#include <cstddef>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

namespace storage::host {

/// Who reads a stream of the program.
enum class OutputKind {
    Terminal, ///< a person, now
    Plain,    ///< a file, a pipe or a test
};

/// Sees what a console says, also where nobody else does.
class ConsoleObserver {
public:
    virtual ~ConsoleObserver() = default;

    virtual void failed(const Failure& failure) = 0;

    /// @param line  what a person would see of the progress of a transfer
    virtual void progressed(const std::string& line) = 0;
};

/// Everything the program says: results on the output, failures and progress on the error stream, in an order
/// that makes sense when both go to one place.
///
/// Borrows its two streams. Between calls the progress line is either not there or the last thing on the
/// error stream. Thread safety: one object is for one thread.
class Console {
public:
    Console(std::ostream& out, OutputKind outKind, std::ostream& err, OutputKind errKind)
        : out_(out), outKind_(outKind), err_(err), errKind_(errKind) {}

    std::ostream& out() { return out_; }

    /// A name or path as results show it: as it is, but without control characters on a terminal. What UTF-8
    /// cannot spell is escaped in any case.
    std::string shown(std::u16string_view text) const;

    /// As above for a name of the disk, of any bytes.
    std::string shown(std::string_view bytes) const;

    /// From here on the names of folders stand out in colour.
    void useColors() noexcept { hasColors_ = true; }

    /// A name or path that was shown by the functions above, in the colour of folders.
    std::string asFolder(const std::string& shownName) const;

    /// From here on failures are those of a line, and none has been reported yet.
    /// @param place  where the line stands, for example "job.qz:12"; empty if failures are not to say
    void beginLine(std::string place);

    /// The place of the line.
    const std::string& place() const noexcept { return place_; }

    /// From here on failures are those of `command`, and none has been reported yet.
    void beginCommand(std::string command);

    std::size_t failuresOfCommand() const noexcept { return failures_; }

    /// Reports a failure of the command in one line: "qzstorage: PLACE: COMMAND: PATH: reason". Control characters
    /// and ill-formed bytes are escaped, what is endless is shortened.
    void report(const Failure& failure);

    /// Reports the exception that is being handled.
    /// @param path  the path to name when the exception has none
    void reportCurrentException(const std::string& path);

    /// From here on failures of the storage are reported with the reason that `diagnose` finds.
    void setDiagnosis(FailureDiagnosis diagnose) { diagnose_ = std::move(diagnose); }

    /// Prints "qzstorage: COMMAND: PATH: text" without counting a failure.
    void notice(const std::string& path, const std::string& text);

    /// Runs one step of the command; what it throws is reported and the command can go on with the next one.
    /// Interrupted, OutputError and UsageError end the command and pass.
    /// @param path  the path to name when the exception has none
    void attempt(const std::string& path, const std::function<void()>& step);

    /// From here on the observer sees what is said, too; null for none. Borrows it.
    void setObserver(ConsoleObserver* observer) noexcept { observer_ = observer; }

    /// Whether there is a place for a line that is rewritten again and again.
    bool showsProgress() const noexcept { return errKind_ == OutputKind::Terminal || observer_ != nullptr; }

    /// The error stream has no place for such a line any more.
    void showNoProgress() noexcept { errKind_ = OutputKind::Plain; }

    void drawProgress(const std::string& line);
    void clearProgress();

private:
    void printLine(const std::string& path, const std::string& text);

    std::ostream& out_;
    OutputKind outKind_;
    std::ostream& err_;
    OutputKind errKind_;
    std::string place_;
    std::string command_;
    std::size_t failures_ = 0;
    bool progressShown_ = false;
    bool hasColors_ = false;
    ConsoleObserver* observer_ = nullptr;
    FailureDiagnosis diagnose_ = Failure::reasonOf;
};

} // namespace storage::host
