#include "host/commands/DisplayPath.h"

#include "host/support/Utf.h"

namespace storage::host {

std::u16string displayPath(std::string_view operand, const StoragePath& top, const StoragePath& path) {
    std::u16string displayed = toUtf16(operand);
    if (path == top) {
        return displayed;
    }
    if (!displayed.ends_with(u'/')) {
        displayed += u'/';
    }
    return displayed + path.text().substr(top.isRoot() ? 1 : top.text().size() + 1);
}

} // namespace storage::host
