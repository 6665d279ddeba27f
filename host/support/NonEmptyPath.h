#pragma once

#include <CLI/CLI.hpp>

namespace storage::host {

/// Rejects an empty path. The error names the option or operand.
inline CLI::Validator nonEmptyPath() {
    return {[](const std::string& path) { return std::string(path.empty() ? "empty path" : ""); }, ""};
}

} // namespace storage::host
