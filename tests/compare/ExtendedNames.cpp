#include "tests/compare/ExtendedNames.h"

#include <algorithm>
#include <fmt/format.h>

namespace syscalls {

std::vector<std::string> namesIn(std::string_view list) {
    std::vector<std::string> names;
    while (!list.empty()) {
        const auto end = list.find('\0');
        names.emplace_back(list.substr(0, end));
        list.remove_prefix(end + 1);
    }
    return names;
}

std::string sortedNames(std::string_view list) {
    std::vector<std::string> names = namesIn(list);
    std::ranges::sort(names);
    return fmt::format("{}", fmt::join(names, " "));
}

} // namespace syscalls
