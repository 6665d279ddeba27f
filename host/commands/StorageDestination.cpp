#include "host/commands/StorageDestination.h"

#include "host/storage/EntryRules.h"
#include "host/support/CommandError.h"
#include "hostapi/storage/provider/ShortNamespace.h"

namespace storage::host {

using provider::EntryExistence;

std::optional<StorageDestination> StorageDestination::find(Session& session, const std::string& operand,
                                                           std::size_t sources) {
    std::optional<StorageDestination> destination;
    session.attempt(
        operand, [&](const StoragePath& path) { destination = StorageDestination(session, path, sources); });
    return destination;
}

StorageDestination::StorageDestination(const Session& session, const StoragePath& path, std::size_t sources)
    : path_(path), isFolder_(existence(session.provider(path), path) == EntryExistence::Folder) {
    if (sources > 1) {
        requireFolder(session.provider(path), path);
    }
}

StoragePath StorageDestination::of(std::u16string_view name) {
    StoragePath target = isFolder_ && !name.empty() ? path_.child(name) : path_;
    if (!taken_.insert(target.text()).second) {
        throw CommandError(target.printed(), "another source has the same name");
    }
    return target;
}

RootAttributes StorageDestination::attributesFor(std::u16string_view name) const {
    return isFolder_ && name.empty() ? RootAttributes::Untouched : RootAttributes::FromSource;
}

} // namespace storage::host
