#include "host/mount/MountOptionList.h"

#include "host/support/UsageError.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <span>
#include <string>
#include <unistd.h>

namespace storage::host {

namespace {

/// Parses the number at the beginning of a value.
/// @return the text after the number
template <typename Number>
std::string_view readNumber(std::string_view name, std::string_view value, int base, Number& number) {
    const char* const end = value.data() + value.size();
    const auto [rest, error] = std::from_chars(value.data(), end, number, base);
    if (error != std::errc{}) {
        throw UsageError(std::string(name) + "=" + std::string(value) + ": invalid or too large number");
    }
    return {rest, static_cast<std::size_t>(end - rest)};
}

template <typename Number>
Number wholeNumber(std::string_view name, std::string_view value, int base, Number largest) {
    Number number{};
    if (!readNumber(name, value, base, number).empty() || number > largest) {
        throw UsageError(std::string(name) + "=" + std::string(value) + ": invalid or too large number");
    }
    return number;
}

std::uint64_t bytesOfMemory() {
    return static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES)) *
           static_cast<std::uint64_t>(::sysconf(_SC_PAGE_SIZE));
}

/// Parses a number with an optional suffix k, m, g or t, or a percentage of `whole` if there is one.
std::uint64_t amount(std::string_view name, std::string_view value, std::optional<std::uint64_t> whole) {
    std::uint64_t number = 0;
    const std::string_view unit = readNumber(name, value, 10, number);
    constexpr std::uint64_t percent = 100;
    if (unit == "%" && whole && number <= percent) {
        return *whole / percent * number;
    }
    constexpr std::string_view units = "kmgt";
    const std::size_t power = unit.empty() ? 0 : units.find(static_cast<char>(unit.front() | 0x20)) + 1;
    const unsigned shift = 10U * static_cast<unsigned>(power);
    if (unit.size() > 1 || (!unit.empty() && power == 0) ||
        number > (std::numeric_limits<std::uint64_t>::max() >> shift)) {
        throw UsageError(std::string(name) + "=" + std::string(value) +
                         ": invalid amount; expected for example 64m");
    }
    return number << shift;
}

/// No limit for 0, as with tmpfs(5).
std::optional<std::uint64_t> limit(std::uint64_t amount) {
    return amount == 0 ? std::nullopt : std::optional(amount);
}

/// An option with a value.
struct Setting {
    std::string_view name;
    void (*apply)(MountOptions& options, std::string_view name, std::string_view value);
};

constexpr std::array knownSettings{
    Setting{"size",
            [](MountOptions& options, std::string_view name, std::string_view value) {
                options.size = limit(amount(name, value, bytesOfMemory()));
            }},
    Setting{"nr_inodes",
            [](MountOptions& options, std::string_view name, std::string_view value) {
                options.entries = limit(amount(name, value, std::nullopt));
            }},
    Setting{"uid",
            [](MountOptions& options, std::string_view name, std::string_view value) {
                options.user = wholeNumber<uid_t>(name, value, 10, std::numeric_limits<uid_t>::max() - 1);
            }},
    Setting{"gid",
            [](MountOptions& options, std::string_view name, std::string_view value) {
                options.group = wholeNumber<gid_t>(name, value, 10, std::numeric_limits<gid_t>::max() - 1);
            }},
    Setting{"mode",
            [](MountOptions& options, std::string_view name, std::string_view value) {
                options.rootPermissions = wholeNumber<mode_t>(name, value, 8, 07777);
            }},
    Setting{"threads",
            [](MountOptions& options, std::string_view name, std::string_view value) {
                constexpr unsigned most = 256;
                options.threads = wholeNumber<unsigned>(name, value, 10, most);
                if (options.threads == 0) {
                    throw UsageError("threads=0: at least one thread is required");
                }
            }},
    Setting{"import", [](MountOptions& options, std::string_view,
                         std::string_view value) { options.importFrom = value; }},
    Setting{"export_on_exit",
            [](MountOptions& options, std::string_view, std::string_view value) {
                options.exportTo = value;
                options.ending = MountOptions::Ending::Adds;
            }},
    Setting{"sync_on_exit",
            [](MountOptions& options, std::string_view, std::string_view value) {
                options.exportTo = value;
                options.ending = MountOptions::Ending::Synchronizes;
            }},
    Setting{"rescue", [](MountOptions& options, std::string_view,
                         std::string_view value) { options.rescueTo = value; }},
    Setting{"plugin",
            [](MountOptions& options, std::string_view, std::string_view value) { options.plugin = value; }},
    Setting{"fsname",
            [](MountOptions& options, std::string_view, std::string_view value) { options.source = value; }},
};

/// Passed on to the kernel.
constexpr std::array<std::string_view, 10> kernelOptions{"noexec", "exec", "nosuid", "suid",    "nodev",
                                                         "dev",    "sync", "async",  "noatime", "dirsync"};

/// Options that are always on, have no effect on a storage, or are for programs that read /etc/fstab.
constexpr std::array<std::string_view, 22> ignoredOptions{
    "defaults", "atime",      "diratime",      "nodiratime",
    "relatime", "norelatime", "nostrictatime", "default_permissions",
    "auto",     "noauto",     "user",          "nouser",
    "users",    "owner",      "group",         "_netdev",
    "nofail",   "loud",       "silent",        "setuid",
    "comment",  "sloppy"};

bool contains(std::span<const std::string_view> names, std::string_view name) {
    return std::ranges::find(names, name) != names.end();
}

bool isIgnored(std::string_view name) {
    return contains(ignoredOptions, name) || name.starts_with("x-") || name.starts_with("X-");
}

/// @return whether it is an option
bool applyFlag(std::string_view name, MountOptions& options) {
    if (name == "ro" || name == "rw") {
        options.writing = name == "ro" ? MountOptions::Writing::Refused : MountOptions::Writing::Allowed;
    } else if (name == "allow_other") {
        options.users = MountOptions::Users::Everybody;
    } else if (name == "noxattr") {
        options.xattrs = MountOptions::Xattrs::Refused;
    } else if (contains(kernelOptions, name)) {
        options.kernelOptions.emplace_back(name);
    } else {
        return false;
    }
    return true;
}

/// @return whether it is an option
bool applySetting(std::string_view name, std::string_view value, MountOptions& options) {
    const auto setting = std::ranges::find(knownSettings, name, &Setting::name);
    if (setting == knownSettings.end()) {
        return false;
    }
    if (value.empty()) {
        throw UsageError(std::string(name) + ": the option requires a value, as in " + std::string(name) +
                         "=...");
    }
    setting->apply(options, name, value);
    return true;
}

std::vector<std::string_view> itemsOf(std::string_view list) {
    std::vector<std::string_view> items;
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(','), list.size());
        if (end > 0) {
            items.push_back(list.substr(0, end));
        }
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return items;
}

} // namespace

void applyOptionList(std::string_view list, MountOptions& options) {
    const std::vector<std::string_view> items = itemsOf(list);
    const bool isSloppy = contains(items, "sloppy");
    for (const std::string_view item : items) {
        const std::size_t end = item.find('=');
        const std::string_view name = item.substr(0, end);
        const std::string_view value =
            end == std::string_view::npos ? std::string_view() : item.substr(end + 1);
        const bool isFlag = end == std::string_view::npos && applyFlag(name, options);
        if (!isFlag && !applySetting(name, value, options) && !isIgnored(name) && !isSloppy) {
            throw UsageError(std::string(item) + ": unknown mount option");
        }
    }
}

} // namespace storage::host
