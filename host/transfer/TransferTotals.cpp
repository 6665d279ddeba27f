#include "host/transfer/TransferTotals.h"

#include "host/support/Counted.h"

#include <fmt/format.h>

namespace storage::host {

TransferTotals& TransferTotals::operator+=(const TransferTotals& other) noexcept {
    folders += other.folders;
    files += other.files;
    bytes += other.bytes;
    symbolicLinks += other.symbolicLinks;
    specialFiles += other.specialFiles;
    unchanged += other.unchanged;
    skipped += other.skipped;
    return *this;
}

std::string TransferTotals::summary() const {
    std::string text =
        counted(folders, "folder") + ", " + counted(files, "file") + ", " + counted(bytes, "byte");
    if (symbolicLinks > 0) {
        text += ", " + counted(symbolicLinks, "symbolic link");
    }
    if (specialFiles > 0) {
        text += ", " + counted(specialFiles, "special file");
    }
    if (unchanged > 0) {
        text += fmt::format(", {} unchanged", unchanged);
    }
    if (skipped > 0) {
        text += fmt::format(", skipped {}", skipped);
    }
    return text;
}

} // namespace storage::host
