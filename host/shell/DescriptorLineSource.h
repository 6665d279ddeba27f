#pragma once

#include "host/shell/LineSource.h"

#include <string>
#include <vector>

namespace storage::host {

/// Reads lines from a file or pipe, and returns each as soon as it has arrived. Removes a carriage return
/// before the newline and a byte order mark at the beginning, which some editors add.
///
/// A line of more than 4 MiB is a failure: a device without newlines would exhaust the memory.
///
/// Borrows the descriptor. Not thread-safe.
class DescriptorLineSource final : public LineSource {
public:
    enum class Places { Shown, Hidden };

    /// @param descriptor  open for reading
    /// @param name        name in error messages
    /// @param places      whether error messages of lines contain the name and the line number
    DescriptorLineSource(int descriptor, std::string name, Places places);

    std::optional<std::string> next() override;
    std::string place() const override;

private:
    std::optional<std::string> readLine();
    bool fill();

    const int descriptor_;
    const std::string name_;
    const Places places_;
    std::vector<char> block_;
    std::size_t position_ = 0;
    std::size_t end_ = 0;
    unsigned long long lineNumber_ = 0;
};

} // namespace storage::host
