#pragma once

#include "host/validate/rules/Check.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace storage::host {

/// The rules that a storage cannot keep by design, each with a reason. A value.
class RuleExceptions {
public:
    /// @param patterns  patterns of numbers or names, from the command line
    /// @param file      each line contains a pattern and a reason; empty lines and lines that begin with "#"
    ///                  are ignored
    /// @throws UsageError when a pattern matches no rule of the catalogue
    /// @throws CommandError when the file cannot be read or a line is invalid
    static RuleExceptions of(std::span<const CheckGroup> catalogue, const std::vector<std::string>& patterns,
                             const std::optional<std::string>& file);

    /// The reason for which a rule is excepted; nothing if it is not.
    std::optional<std::string> reasonFor(const Check& check) const;

private:
    std::vector<std::pair<std::string, std::string>> reasons_; ///< pattern and reason
};

} // namespace storage::host
