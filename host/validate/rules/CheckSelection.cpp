#include "host/validate/rules/CheckSelection.h"

#include "host/support/CommandError.h"
#include "host/support/UsageError.h"
#include "host/support/Utf.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/WildcardPattern.h"

#include <algorithm>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/trim.hpp>
#include <cerrno>
#include <fmt/format.h>
#include <fstream>

namespace storage::host {

using provider::WildcardPattern;

namespace {

using Catalogue = std::span<const CheckGroup>;
using Patterns = CheckSelection::Patterns;
using Rules = std::vector<CheckSelection::Rule>;

constexpr const char* blanksAndReturn = " \t\r";

std::string trimmed(const std::string& text) {
    return boost::trim_copy_if(text, boost::is_any_of(blanksAndReturn));
}

bool matches(const std::string& pattern, const Check& check) {
    const WildcardPattern wanted(toUtf16(pattern));
    return wanted.matches(toUtf16(check.number)) || wanted.matches(toUtf16(check.name));
}

bool isSelected(const Check& check, const Patterns& patterns) {
    return patterns.empty() || std::any_of(patterns.begin(), patterns.end(),
                                           [&](const std::string& each) { return matches(each, check); });
}

CheckSelection select(Catalogue catalogue, Profile profile, const Patterns& patterns) {
    CheckSelection selection;
    for (const CheckGroup& group : catalogue) {
        for (const Check& check : group.checks) {
            if (!isSelected(check, patterns)) {
                continue;
            }
            if (profile == Profile::InMemoryProvider || check.profile == Profile::AnyProvider) {
                selection.rules.push_back({&group, &check});
            } else {
                ++selection.leftOut;
            }
        }
    }
    return selection;
}

/// Why a pattern selects nothing; empty if it selects a rule.
std::string whyNothing(Catalogue catalogue, Profile profile, const std::string& pattern) {
    const CheckSelection selected = select(catalogue, profile, {pattern});
    if (!selected.rules.empty()) {
        return "";
    }
    return selected.leftOut > 0
               ? fmt::format("no rule of the profile '{}' matches '{}'", profileName(profile), pattern)
               : fmt::format("no rule matches '{}'; 'qzstorage validate --list' lists the rules", pattern);
}

void requireMatches(Catalogue catalogue, Profile profile, const Patterns& patterns) {
    for (const std::string& pattern : patterns) {
        if (const std::string reason = whyNothing(catalogue, profile, pattern); !reason.empty()) {
            throw UsageError(reason);
        }
    }
}

/// Sets the reason of each rule that a pattern matches, unless it already has one.
void except(Rules& rules, const std::string& pattern, const std::string& reason) {
    for (CheckSelection::Rule& rule : rules) {
        if (!rule.exception && matches(pattern, *rule.check)) {
            rule.exception = reason;
        }
    }
}

/// @param line   neither empty nor a comment
/// @param where  file and line number, for the error message
void exceptByLine(Rules& rules, const std::string& line, const std::string& where, Catalogue catalogue) {
    const std::string pattern = line.substr(0, line.find_first_of(blanksAndReturn));
    const std::string trouble = whyNothing(catalogue, Profile::InMemoryProvider, pattern);
    if (!trouble.empty()) {
        throw CommandError(where, trouble);
    }
    if (pattern == line) {
        throw CommandError(where, fmt::format("'{}': missing reason after the pattern", pattern));
    }
    except(rules, pattern, trimmed(line.substr(pattern.size())));
}

void exceptByFile(Rules& rules, const std::string& file, Catalogue catalogue) {
    std::ifstream lines(file);
    int number = 0;
    for (std::string text; std::getline(lines, text);) {
        ++number;
        const std::string line = trimmed(text);
        if (!line.empty() && !line.starts_with('#')) {
            exceptByLine(rules, line, fmt::format("{}:{}", file, number), catalogue);
        }
    }
    if (!lines.eof()) {
        throw diskError(file, errno);
    }
}

} // namespace

CheckSelection CheckSelection::of(Catalogue catalogue, Profile profile, const Patterns& only,
                                  const Patterns& excepted, const std::optional<std::string>& exceptFrom) {
    requireMatches(catalogue, profile, only);
    requireMatches(catalogue, Profile::InMemoryProvider, excepted);
    CheckSelection selection = select(catalogue, profile, only);
    for (const std::string& pattern : excepted) {
        except(selection.rules, pattern, "named by --except");
    }
    if (exceptFrom) {
        exceptByFile(selection.rules, *exceptFrom, catalogue);
    }
    if (std::all_of(selection.rules.begin(), selection.rules.end(),
                    [](const Rule& rule) { return rule.exception.has_value(); })) {
        throw UsageError("all selected rules are excepted, so nothing would be checked");
    }
    return selection;
}

} // namespace storage::host
