#include "host/session/Session.h"

#include "host/support/CommandError.h"
#include "host/support/Utf.h"

namespace storage::host {

using foundation::storage::provider::ErrorCode;
using foundation::storage::provider::Exception;

namespace {

[[noreturn]] void refuseAsFolder(const StoragePath& path) {
    throw CommandError(path.printed(), "not a folder");
}

} // namespace

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
        refuseFileAbove(path);
        throw CommandError(path.printed(), Exception::describe(ErrorCode::NotFound));
    }
    return found;
}

void Session::requireFolder(const StoragePath& path) const {
    if (requireEntry(path) == EntryExistence::File) {
        refuseAsFolder(path);
    }
}

void Session::requireFile(const StoragePath& path) const {
    requireEntry(path);
    refuseFolder(path);
}

void Session::refuseFolder(const StoragePath& path) const {
    switch (existence(path)) {
    case EntryExistence::Folder:
        throw CommandError(path.printed(), "is a folder");
    case EntryExistence::File:
        break;
    case EntryExistence::Missing:
        refuseFileAbove(path);
    }
}

void Session::refuseFileAbove(const StoragePath& path) const {
    if (provider().doFolderExists(path.parent().iri())) {
        return;
    }
    // From the root down, as the way to what is missing may be long and most of it missing, too.
    const std::u16string& text = path.text();
    for (std::size_t end = text.find(u'/', 1); end != std::u16string::npos; end = text.find(u'/', end + 1)) {
        const StoragePath above = StoragePath::resolve(StoragePath(), text.substr(0, end));
        const EntryExistence found = existence(above);
        if (found == EntryExistence::File) {
            refuseAsFolder(above);
        }
        if (found == EntryExistence::Missing) {
            return;
        }
    }
}

} // namespace storage::host
