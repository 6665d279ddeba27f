#pragma once

#include "host/session/Session.h"
#include "host/transfer/ExportSource.h"

namespace storage::host {

/// The storages of a session, with the attributes and special entries that the session keeps for them.
///
/// Borrows the session. Not thread-safe.
class SessionExportSource final : public ExportSource {
public:
    explicit SessionExportSource(const Session& session) : session_(session) {}

    /// The entries of a folder, sorted by name.
    std::vector<Child> childrenOf(const StoragePath& folder);

    Authority authority() const noexcept override { return Authority::Disk; }
    EntryKind kindOf(const StoragePath& path) override;
    Part childrenFrom(const StoragePath& folder, std::uint64_t) override { return {childrenOf(folder)}; }
    Entry entryAt(const StoragePath& path, EntryKind kind) override;
    std::uint64_t sizeOf(const StoragePath& file) override;
    std::unique_ptr<Reader> open(const StoragePath& file) override;

private:
    const Session& session_;
};

} // namespace storage::host
