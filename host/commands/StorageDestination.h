#pragma once

#include "host/session/Session.h"
#include "host/transfer/RootAttributes.h"

#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace storage::host {

/// Where in a storage the sources of one command go: into a folder that exists, each under its own name, or
/// else to the destination path itself, of which there can be only one.
class StorageDestination {
public:
    /// The destination of a command. Nothing, which has been reported to the console, when there are several sources
    /// and the destination is not a folder, or when it cannot be looked at.
    /// @param operand  the destination as the user gave it
    /// @param sources  how many entries are to go there
    static std::optional<StorageDestination> find(Session& session, const std::string& operand,
                                                  std::size_t sources);

    /// The destination itself.
    const StoragePath& path() const noexcept { return path_; }

    /// Where a source of this name goes. A source without a name goes to the destination itself.
    /// @throws CommandError when another source of the command went there already
    StoragePath of(std::u16string_view name);

    /// What becomes of the folder that a source of this name goes to.
    RootAttributes attributesFor(std::u16string_view name) const;

private:
    StorageDestination(const Session& session, const StoragePath& path, std::size_t sources);

    StoragePath path_;
    bool isFolder_;
    std::set<std::u16string> taken_; ///< what `of` has given away
};

} // namespace storage::host
