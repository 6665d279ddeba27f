#pragma once

#include "host/support/Failure.h"

#include <cstddef>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

namespace storage::host {

/// The kind of target of an output stream.
enum class OutputKind {
    Terminal, ///< interactive
    Plain,    ///< a file or a pipe
};

/// Receives a copy of the failures and the progress of a console.
class ConsoleObserver {
public:
    virtual ~ConsoleObserver() = default;

    virtual void failed(const Failure& failure) = 0;

    /// @param line  the progress line as a terminal shows it
    virtual void progressed(const std::string& line) = 0;
};

/// All output of the program: results go to the output stream, failures and progress to the error stream. The
/// order is kept when both streams are the same file.
///
/// Borrows its two streams. Invariant: between calls the progress line is either erased or the last thing on
/// the error stream. Not thread-safe.
class Console {
public:
    Console(std::ostream& out, OutputKind outKind, std::ostream& err, OutputKind errKind)
        : out_(out), outKind_(outKind), err_(err), errKind_(errKind) {}

    std::ostream& out() { return out_; }

    /// Formats a name or path for results: unchanged, but on a terminal control characters are escaped.
    /// Unpaired surrogates are escaped in any case.
    std::string shown(std::u16string_view text) const;

    /// The same for a name on disk, which may hold any bytes.
    std::string shown(std::string_view bytes) const;

    /// Prints the names of folders in color from now on.
    void useColors() noexcept { hasColors_ = true; }

    /// Adds the color of folders to the result of `shown`.
    std::string asFolder(const std::string& shownName) const;

    /// Starts a line: resets the failure count, and reports later failures with this place.
    /// @param place  for example "job.qz:12"; empty if failures are reported without a place
    void beginLine(std::string place);

    /// The place of the current line.
    const std::string& place() const noexcept { return place_; }

    /// Starts a command: resets the failure count, and reports later failures with its name.
    void beginCommand(std::string command);

    std::size_t failuresOfCommand() const noexcept { return failures_; }

    /// Reports a failure of the command in one line: "qzstorage: PLACE: COMMAND: PATH: reason". Control
    /// characters and ill-formed bytes are escaped, overlong text is shortened.
    void report(const Failure& failure);

    /// Reports the current exception.
    /// @param path  used if the exception names no path
    void reportCurrentException(const std::string& path);

    /// Sets how failures of the storage are described.
    /// @return the previous diagnosis
    FailureDiagnosis setDiagnosis(FailureDiagnosis diagnosis) {
        return std::exchange(diagnosis_, std::move(diagnosis));
    }

    /// Prints "qzstorage: PLACE: COMMAND: PATH: text" without counting a failure.
    void notice(const std::string& path, const std::string& text);

    /// Runs one step of the command. Reports an exception and returns, so that the command can continue.
    /// Interrupted, OutputError and UsageError are not caught.
    /// @param path  used if the exception names no path
    void attempt(const std::string& path, const std::function<void()>& step);

    /// Sets the observer, which is borrowed; null removes it.
    void setObserver(ConsoleObserver* observer) noexcept { observer_ = observer; }

    /// Whether the error stream or an observer can show a line that is redrawn.
    bool showsProgress() const noexcept { return errKind_ == OutputKind::Terminal || observer_ != nullptr; }

    /// Stops drawing progress on the error stream.
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
    bool hasProgressLine_ = false;
    bool hasColors_ = false;
    ConsoleObserver* observer_ = nullptr;
    FailureDiagnosis diagnosis_;
};

} // namespace storage::host
