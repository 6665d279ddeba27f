#include "host/TransferTotals.h"

#include <fmt/format.h>

namespace storage::host {

std::string TransferTotals::summary() const {
    std::string text =
        counted(folders, "folder") + ", " + counted(files, "file") + ", " + counted(bytes, "byte");
    if (skipped > 0) {
        text += fmt::format(", skipped {}", skipped);
    }
    return text;
}

std::string counted(unsigned long long number, const std::string& noun) {
    return counted(number, noun, noun + 's');
}

std::string counted(unsigned long long number, const std::string& singular, const std::string& plural) {
    return fmt::format("{} {}", number, number == 1 ? singular : plural);
}

} // namespace storage::host
