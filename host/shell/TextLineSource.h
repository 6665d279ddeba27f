#pragma once

#include "host/shell/LineSource.h"

#include <sstream>
#include <string>

namespace storage::host {

/// The lines of a text in memory.
///
/// Thread safety: one object is for one thread.
class TextLineSource final : public LineSource {
public:
    explicit TextLineSource(const std::string& text) : text_(text) {}

    std::optional<std::string> next() override;

private:
    std::istringstream text_;
};

} // namespace storage::host
