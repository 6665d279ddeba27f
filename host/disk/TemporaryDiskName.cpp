#include "host/disk/TemporaryDiskName.h"

#include "host/support/NameHash.h"

#include <cstddef>
#include <fmt/format.h>

namespace storage::host {

namespace {

constexpr std::string_view prefix = ".qzstorage-";
constexpr std::string_view suffix = ".part";
constexpr std::size_t hashDigits = 16;

} // namespace

std::string temporaryDiskName(const std::string& target, unsigned number) {
    return fmt::format("{}{:016x}-{}{}", prefix, nameHash(target), number, suffix);
}

bool isTemporaryDiskName(std::string_view name) {
    if (!name.starts_with(prefix) || !name.ends_with(suffix) ||
        name.size() <= prefix.size() + hashDigits + 1 + suffix.size()) {
        return false;
    }
    const auto hash = name.substr(prefix.size(), hashDigits);
    auto number = name.substr(prefix.size() + hashDigits);
    number = number.substr(0, number.size() - suffix.size());
    return hash.find_first_not_of("0123456789abcdef") == std::string_view::npos && number.front() == '-' &&
           number.substr(1).find_first_not_of("0123456789") == std::string_view::npos;
}

} // namespace storage::host
