#include "host/validate/rules/RuleExceptions.h"

#include "host/support/CommandError.h"
#include "host/support/UsageError.h"
#include "host/validate/rules/CheckSelection.h"

#include <algorithm>
#include <cerrno>
#include <fmt/format.h>
#include <fstream>

namespace storage::host {

namespace {

constexpr const char* blanksAndReturn = " \t\r";

bool matchesAny(const std::string& pattern, std::span<const CheckGroup> catalogue) {
    return std::any_of(catalogue.begin(), catalogue.end(), [&](const CheckGroup& group) {
        return std::any_of(group.checks.begin(), group.checks.end(),
                           [&](const Check& check) { return matches(pattern, check); });
    });
}

std::string trimmed(const std::string& text) {
    const std::size_t begin = std::min(text.find_first_not_of(blanksAndReturn), text.size());
    return text.substr(begin, text.find_last_not_of(blanksAndReturn) + 1 - begin);
}

/// Parses a line that is neither empty nor a comment.
/// @param where  file and line number, for the error message
std::pair<std::string, std::string> exceptionOf(const std::string& line, const std::string& where,
                                                std::span<const CheckGroup> catalogue) {
    const std::size_t end = std::min(line.find_first_of(blanksAndReturn), line.size());
    const std::string pattern = line.substr(0, end);
    if (!matchesAny(pattern, catalogue)) {
        throw CommandError(where, noSuchRule(pattern));
    }
    if (end == line.size()) {
        throw CommandError(where, fmt::format("'{}': missing reason after the pattern", pattern));
    }
    return {pattern, trimmed(line.substr(end))};
}

} // namespace

RuleExceptions RuleExceptions::of(std::span<const CheckGroup> catalogue,
                                  const std::vector<std::string>& patterns,
                                  const std::optional<std::string>& file) {
    RuleExceptions exceptions;
    for (const std::string& pattern : patterns) {
        if (!matchesAny(pattern, catalogue)) {
            throw UsageError(noSuchRule(pattern));
        }
        exceptions.reasons_.emplace_back(pattern, "named by --except");
    }
    if (!file) {
        return exceptions;
    }
    std::ifstream lines(*file);
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        line = trimmed(line);
        if (!line.empty() && !line.starts_with('#')) {
            exceptions.reasons_.push_back(exceptionOf(line, fmt::format("{}:{}", *file, number), catalogue));
        }
    }
    if (!lines.eof()) {
        throw diskError(*file, errno);
    }
    return exceptions;
}

std::optional<std::string> RuleExceptions::reasonFor(const Check& check) const {
    const auto found = std::find_if(reasons_.begin(), reasons_.end(),
                                    [&](const auto& each) { return matches(each.first, check); });
    return found == reasons_.end() ? std::nullopt : std::optional(found->second);
}

} // namespace storage::host
