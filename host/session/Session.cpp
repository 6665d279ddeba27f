#include "host/session/Session.h"

#include "host/support/CommandError.h"
#include "host/support/Utf.h"

namespace storage::host {

StoragePath Session::resolve(std::string_view word) const {
    if (word.empty()) {
        throw CommandError("''", "an empty path");
    }
    return StoragePath::resolve(currentFolder_, toUtf16(word));
}

} // namespace storage::host
