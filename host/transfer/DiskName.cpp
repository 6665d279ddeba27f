#include "host/transfer/DiskName.h"

#include "host/support/CommandError.h"
#include "host/support/Utf.h"

namespace storage::host {

std::string toDiskName(std::u16string_view name, const StoragePath& path) {
    const auto utf8 = toUtf8(name);
    if (!utf8) {
        throw CommandError(path.printed(), "the name cannot be converted to bytes");
    }
    const bool possible = !utf8->empty() && *utf8 != "." && *utf8 != ".." &&
                          utf8->find('\0') == std::string::npos && utf8->find('/') == std::string::npos;
    if (!possible) {
        throw CommandError(path.printed(), "not a valid file name on disk");
    }
    return *utf8;
}

} // namespace storage::host
