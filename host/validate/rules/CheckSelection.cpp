#include "host/validate/rules/CheckSelection.h"

#include "host/support/UsageError.h"
#include "host/support/Utf.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/WildcardPattern.h"

#include <algorithm>
#include <fmt/format.h>

namespace storage::host {

using provider::WildcardPattern;

namespace {

using Patterns = std::vector<std::string>;

bool isSelected(const Check& check, const Patterns& patterns) {
    return patterns.empty() || std::any_of(patterns.begin(), patterns.end(),
                                           [&](const std::string& each) { return matches(each, check); });
}

bool has(Profile profile, const Check& check) {
    return profile == Profile::InMemoryProvider || check.profile == Profile::AnyProvider;
}

CheckSelection select(std::span<const CheckGroup> catalogue, Profile profile, const Patterns& patterns) {
    CheckSelection selection;
    for (const CheckGroup& group : catalogue) {
        CheckSelection::Group selected{&group, {}};
        for (const Check& check : group.checks) {
            if (isSelected(check, patterns) && has(profile, check)) {
                selected.checks.push_back(&check);
            } else if (isSelected(check, patterns)) {
                ++selection.leftOut;
            }
        }
        if (!selected.checks.empty()) {
            selection.groups.push_back(std::move(selected));
        }
    }
    return selection;
}

void requireSelected(std::span<const CheckGroup> catalogue, Profile profile, const std::string& pattern) {
    const CheckSelection selected = select(catalogue, profile, {pattern});
    if (selected.size() > 0) {
        return;
    }
    throw UsageError(selected.leftOut > 0 ? fmt::format("no rule of the profile {} matches '{}'",
                                                        profileName(profile), pattern)
                                          : noSuchRule(pattern));
}

} // namespace

bool matches(const std::string& pattern, const Check& check) {
    const WildcardPattern wanted(toUtf16(pattern));
    return wanted.matches(toUtf16(check.number)) || wanted.matches(toUtf16(check.name));
}

std::string noSuchRule(const std::string& pattern) {
    return fmt::format("no rule matches '{}'; 'qzstorage validate --list' lists the rules", pattern);
}

CheckSelection CheckSelection::of(std::span<const CheckGroup> catalogue, Profile profile,
                                  const Patterns& patterns) {
    for (const std::string& pattern : patterns) {
        requireSelected(catalogue, profile, pattern);
    }
    return select(catalogue, profile, patterns);
}

std::size_t CheckSelection::size() const {
    std::size_t sum = 0;
    for (const Group& group : groups) {
        sum += group.checks.size();
    }
    return sum;
}

} // namespace storage::host
