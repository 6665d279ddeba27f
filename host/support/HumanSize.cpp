#include "host/support/HumanSize.h"

#include <cmath>
#include <fmt/format.h>
#include <string_view>

namespace storage::host {

std::string humanSize(unsigned long long bytes) {
    constexpr double base = 1024;
    constexpr std::string_view units = "KMGTPE";
    if (static_cast<double>(bytes) < base) {
        return std::to_string(bytes);
    }
    double size = static_cast<double>(bytes) / base;
    std::size_t unit = 0;
    for (; std::ceil(size) >= base; ++unit) { // a 64-bit size is below 16E
        size /= base;
    }
    constexpr double tenths = 10;
    const double precise = std::ceil(size * tenths) / tenths;
    return precise < tenths ? fmt::format("{:.1f}{}", precise, units[unit])
                            : fmt::format("{:.0f}{}", std::ceil(size), units[unit]);
}

} // namespace storage::host
