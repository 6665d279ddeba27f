#pragma once

#include <optional>
#include <string>

namespace storage::host {

/// Where the lines of the language come from.
class LineSource {
public:
    LineSource() = default;
    LineSource(const LineSource&) = delete;
    LineSource& operator=(const LineSource&) = delete;
    virtual ~LineSource() = default;

    /// The next line without its newline; nothing at the end.
    /// @throws CommandError when the source cannot be read
    /// @throws Interrupted when a signal arrives while it waits
    virtual std::optional<std::string> next() = 0;

    /// Where the last line stands, for failures of it; empty if they are not to say.
    virtual std::string place() const { return ""; }
};

} // namespace storage::host
