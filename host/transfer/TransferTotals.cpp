#include "host/transfer/TransferTotals.h"

#include "host/support/Counted.h"

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

} // namespace storage::host
