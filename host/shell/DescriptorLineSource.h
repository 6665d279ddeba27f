#pragma once

#include "host/shell/LineSource.h"
#include "host/support/Interruption.h"

#include <string>
#include <vector>

namespace storage::host {

/// Lines of up to 4 MiB from a file or pipe, returned as soon as they have arrived. What editors put around
/// them is taken off: a carriage return before the newline, a byte order mark at the beginning.
///
/// A longer line is a failure, or a device without newlines would fill the memory.
///
/// Borrows the descriptor. Thread safety: one object is for one thread.
class DescriptorLineSource final : public LineSource {
public:
    enum class Places { Shown, Hidden };

    /// @param descriptor  open for reading
    /// @param name        what failures call it
    /// @param places      whether failures of lines are to say the name and the number of the line
    DescriptorLineSource(int descriptor, std::string name, const Interruption& interruption, Places places);

    std::optional<std::string> next() override;
    std::string place() const override;

private:
    std::optional<std::string> readLine();
    bool fill();

    const int descriptor_;
    const std::string name_;
    const Interruption& interruption_;
    const Places places_;
    std::vector<char> block_;
    std::size_t position_ = 0;
    std::size_t end_ = 0;
    unsigned long long lineNumber_ = 0;
};

} // namespace storage::host
