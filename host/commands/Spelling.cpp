#include "host/commands/Spelling.h"

#include "host/support/Utf.h"

namespace storage::host {

std::u16string spelledAfter(std::string_view operand, const StoragePath& top, const StoragePath& path) {
    std::u16string spelling = toUtf16(operand).value_or(top.text());
    if (path == top) {
        return spelling;
    }
    if (!spelling.ends_with(u'/')) {
        spelling += u'/';
    }
    return spelling + path.text().substr(top.isRoot() ? 1 : top.text().size() + 1);
}

} // namespace storage::host
