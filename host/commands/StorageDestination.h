#pragma once

#include "host/session/Session.h"
#include "host/transfer/RootAttributes.h"

#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace storage::host {

/// The destination of one command in a storage. Sources go into an existing folder, each under its own name.
/// If there is no such folder, the only source goes to the destination path itself.
///
/// Not thread-safe.
class StorageDestination {
public:
    /// Looks up the destination of a command. If it cannot be queried, or if there are several sources and it
    /// is not a folder, reports the failure to the console and returns nothing.
    /// @param operand  the destination as typed by the user
    /// @param sources  number of sources
    static std::optional<StorageDestination> find(Session& session, const std::string& operand,
                                                  std::size_t sources);

    /// Returns the destination path itself.
    const StoragePath& path() const noexcept { return path_; }

    /// Returns the path for a source of this name. A source without a name goes to the destination itself.
    /// @throws CommandError when another source of the command has the same path
    StoragePath of(std::u16string_view name);

    /// Returns whether the destination folder of a source of this name gets the attributes of the source.
    RootAttributes attributesFor(std::u16string_view name) const;

private:
    StorageDestination(const Session& session, const StoragePath& path, std::size_t sources);

    StoragePath path_;
    bool isFolder_;
    std::set<std::u16string> taken_; ///< paths returned by `of`
};

} // namespace storage::host
