#pragma once

#include "host/validate/rules/Check.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace storage::host {

/// The rules that a storage cannot keep by nature, each with the reason. A value.
class RuleExceptions {
public:
    /// @param patterns  of numbers or names, from the command line
    /// @param file      lines of a pattern and the reason; empty ones and those that begin with "#" are comments
    /// @throws UsageError when a pattern matches no rule of the catalogue
    /// @throws CommandError when the file cannot be read, or a line of it is wrong
    static RuleExceptions of(std::span<const CheckGroup> catalogue, const std::vector<std::string>& patterns,
                             const std::optional<std::string>& file);

    /// Why a rule is excepted; nothing when it is not.
    std::optional<std::string> reasonFor(const Check& check) const;

private:
    std::vector<std::pair<std::string, std::string>> reasons_; ///< of each pattern
};

} // namespace storage::host
