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

std::string counted(unsigned long long number, const char* noun) {
    return fmt::format("{} {}{}", number, noun, number == 1 ? "" : "s");
}

} // namespace storage::host
