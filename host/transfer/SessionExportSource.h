#pragma once

#include "host/session/KeptAttributes.h"
#include "host/transfer/ExportSource.h"
#include "hostapi/storage/provider/IProvider.h"

namespace storage::host {

/// A provider, and the session's record of what it does not keep.
///
/// Borrows both. Thread safety: one object is for one thread.
class SessionExportSource final : public ExportSource {
public:
    using IProvider = foundation::storage::provider::IProvider;

    SessionExportSource(const IProvider& provider, const KeptAttributes& kept)
        : provider_(provider), kept_(kept) {}

    Authority authority() const noexcept override { return Authority::Disk; }
    EntryKind kindOf(const StoragePath& path) override;
    std::vector<Child> childrenOf(const StoragePath& folder) override;
    Entry entryAt(const StoragePath& path, EntryKind kind) override;
    std::uint64_t sizeOf(const StoragePath& file) override;
    std::unique_ptr<Reader> open(const StoragePath& file) override;

private:
    const IProvider& provider_;
    const KeptAttributes& kept_;
};

} // namespace storage::host
