#include "host/storage/EntryRules.h"

#include "host/support/CommandError.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <string>

namespace storage::host {

using provider::EntryExistence;
using provider::IProvider;

namespace {

[[noreturn]] void refuseAsFolder(const StoragePath& path) {
    throw CommandError(path.printed(), "not a folder");
}

} // namespace

EntryExistence existence(const IProvider& provider, const StoragePath& path) {
    return provider.doExistsExtended(path.iri());
}

EntryExistence requireEntry(const IProvider& provider, const StoragePath& path) {
    const EntryExistence found = existence(provider, path);
    if (found == EntryExistence::Missing) {
        refuseFileAbove(provider, path);
        throw CommandError(path.printed(), "no such file or folder");
    }
    return found;
}

void requireFolder(const IProvider& provider, const StoragePath& path) {
    if (requireEntry(provider, path) == EntryExistence::File) {
        refuseAsFolder(path);
    }
}

void requireFile(const IProvider& provider, const StoragePath& path) {
    requireEntry(provider, path);
    refuseFolder(provider, path);
}

void refuseFolder(const IProvider& provider, const StoragePath& path) {
    switch (existence(provider, path)) {
    case EntryExistence::Folder:
        throw CommandError(path.printed(), "is a folder");
    case EntryExistence::File:
        break;
    case EntryExistence::Missing:
        refuseFileAbove(provider, path);
    }
}

void refuseFileAbove(const IProvider& provider, const StoragePath& path) {
    const auto obstacle = obstacleAbove(provider, path);
    if (obstacle && obstacle->kind == Obstacle::Kind::File) {
        refuseAsFolder(obstacle->path);
    }
}

void refuseReadOnlyFile(const IProvider& provider, const StoragePath& path) {
    if (existence(provider, path) == EntryExistence::File &&
        !provider.doGetFileAttributes(path.iri()).isWritable()) {
        throw CommandError(path.printed(), "the file is read-only");
    }
}

std::optional<Obstacle> obstacleAbove(const IProvider& provider, const StoragePath& path) {
    if (provider.doFolderExists(path.parent().iri())) {
        return std::nullopt;
    }
    // From the root down, because most of a long path may be missing.
    const std::u16string& text = path.text();
    for (std::size_t end = text.find(u'/', 1); end != std::u16string::npos; end = text.find(u'/', end + 1)) {
        const StoragePath above = StoragePath::resolve(path, text.substr(0, end));
        switch (existence(provider, above)) {
        case EntryExistence::File:
            return Obstacle{above, Obstacle::Kind::File};
        case EntryExistence::Missing:
            return Obstacle{above, Obstacle::Kind::Missing};
        case EntryExistence::Folder:
            break;
        }
    }
    return std::nullopt;
}

} // namespace storage::host
