#pragma once

#include <optional>
#include <string>

namespace storage::host {

/// A source of command lines.
class LineSource {
public:
    LineSource() = default;
    LineSource(const LineSource&) = delete;
    LineSource& operator=(const LineSource&) = delete;
    virtual ~LineSource() = default;

    /// Returns the next line without its newline; nothing at the end.
    /// @throws CommandError when the source cannot be read
    /// @throws Interrupted when a signal arrives while it waits
    virtual std::optional<std::string> next() = 0;

    /// The position of the last line for error messages; empty if they contain none.
    virtual std::string place() const { return ""; }
};

} // namespace storage::host
