#pragma once

#include "host/session/Session.h"
#include "host/shell/PathLookup.h"

namespace storage::host {

/// Looks up paths in the storages of a session. Skips names that no byte string represents.
///
/// Borrows the session. Not thread-safe.
class StorageLookup final : public PathLookup {
public:
    explicit StorageLookup(const Session& session) : session_(session) {}

    std::vector<std::string> names(const std::string& folder, Wanted wanted) const override;
    bool exists(const std::string& path, Wanted wanted) const override;
    std::size_t prefixLength(std::string_view word) const override;

private:
    StoragePath find(const std::string& path) const;

    const Session& session_;
};

} // namespace storage::host
