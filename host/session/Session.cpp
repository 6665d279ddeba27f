#include "host/session/Session.h"

#include "host/support/CommandError.h"
#include "host/support/Utf.h"

namespace storage::host {

StoragePath Session::resolve(std::string_view word) const {
    if (word.empty()) {
        throw CommandError("''", "an empty path");
    }
    const auto text = toUtf16(word);
    if (!text) {
        throw CommandError(std::string(word), "the name is not UTF-8");
    }
    return StoragePath::resolve(currentFolder_, *text);
}

} // namespace storage::host
