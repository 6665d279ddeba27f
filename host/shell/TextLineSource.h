#pragma once

#include "host/shell/LineSource.h"

#include <sstream>
#include <string>

namespace storage::host {

/// Returns the lines of a text in memory.
///
/// Not thread-safe.
class TextLineSource final : public LineSource {
public:
    explicit TextLineSource(const std::string& text) : text_(text) {}

    std::optional<std::string> next() override;

private:
    std::istringstream text_;
};

} // namespace storage::host
