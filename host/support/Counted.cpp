#include "host/support/Counted.h"

#include <fmt/format.h>

namespace storage::host {

std::string counted(unsigned long long number, const std::string& noun) {
    return counted(number, noun, noun + 's');
}

std::string counted(unsigned long long number, const std::string& singular, const std::string& plural) {
    return fmt::format("{} {}", number, number == 1 ? singular : plural);
}

} // namespace storage::host
