#include "host/Session.h"

#include "host/CommandError.h"
#include "host/Utf.h"

namespace storage::host {

using foundation::storage::provider::ErrorCode;
using foundation::storage::provider::Exception;

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

Session::EntryExistence Session::existence(const StoragePath& path) const {
    return provider().doExistsExtended(path.iri());
}

Session::EntryExistence Session::requireEntry(const StoragePath& path) const {
    const EntryExistence found = existence(path);
    if (found == EntryExistence::Missing) {
        throw CommandError(path.printed(), Exception::describe(ErrorCode::NotFound));
    }
    return found;
}

void Session::requireFolder(const StoragePath& path) const {
    if (requireEntry(path) == EntryExistence::File) {
        throw CommandError(path.printed(), "not a folder");
    }
}

void Session::requireFile(const StoragePath& path) const {
    requireEntry(path);
    refuseFolder(path);
}

void Session::refuseFolder(const StoragePath& path) const {
    if (existence(path) == EntryExistence::Folder) {
        throw CommandError(path.printed(), "is a folder");
    }
}

} // namespace storage::host
