#pragma once

#include "host/session/KeptAttributes.h"
#include "host/storage/LiftedFolderFlag.h"
#include "host/transfer/ImportTarget.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <memory>
#include <vector>

namespace storage::host {

/// Imports into a provider, and keeps the attributes and special entries that it cannot store.
///
/// Borrows the provider and the kept attributes. Not thread-safe.
class SessionImportTarget final : public ImportTarget {
public:
    using IProvider = provider::IProvider;

    SessionImportTarget(const IProvider& provider, KeptAttributes& kept) : provider_(provider), kept_(kept) {}

    std::optional<Existing> find(const StoragePath& path) override;
    void requirePlace(const StoragePath& path) override;
    void enterFolder(const StoragePath& path, const DiskAttributes* attributes) override;
    void leaveFolder(const StoragePath& path, const DiskAttributes* attributes) override;
    void leaveAll() noexcept override { lifted_.clear(); }
    std::unique_ptr<File> makeFile(const StoragePath& path) override;
    std::uint64_t newLinkGroup() override { return kept_.newLinkGroup(); }
    bool link(const StoragePath&, const StoragePath&) override { return false; }
    void addName(const StoragePath& existing, const StoragePath& path) override;
    void makeSpecial(const StoragePath& path, const DiskAttributes& attributes) override;

private:
    class NewFile;

    void copyBytes(const StoragePath& from, File& to) const;
    void apply(const StoragePath& path, const DiskAttributes& attributes);

    const IProvider& provider_;
    KeptAttributes& kept_;
    std::vector<std::unique_ptr<const LiftedFolderFlag>> lifted_; ///< one per entered folder; mostly null
};

} // namespace storage::host
