#include "host/mount/EntryName.h"

#include "host/mount/ErrnoError.h"
#include "host/support/Utf.h"

#include <cerrno>

namespace storage::host {

std::u16string storageNameOf(std::string_view name) {
    if (name.size() > longestEntryName) {
        throw ErrnoError(ENAMETOOLONG);
    }
    return toUtf16(name);
}

std::optional<std::string> programNameOf(std::u16string_view name) {
    using namespace std::string_view_literals;
    auto result = toUtf8(name);
    if (!result || result->empty() || result->size() > longestEntryName || *result == "." ||
        *result == ".." || result->find_first_of("/\0"sv) != std::string::npos) {
        return std::nullopt;
    }
    return result;
}

} // namespace storage::host
