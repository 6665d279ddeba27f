#pragma once

#include "host/console/Console.h"
#include "host/disk/TargetClaim.h"
#include "host/mount/ImportedTree.h"
#include "host/mount/MountedStorage.h"

#include <optional>
#include <string>
#include <utility>

namespace storage::host {

/// Exports the content of a mounted storage to a folder of the disk.
///
/// Claims the folder during its lifetime. Borrows the console. Not thread-safe.
class ExitExport {
public:
    /// @param target  absolute path of a folder; its parent must exist
    /// @throws CommandError when an export to the target could not succeed
    ExitExport(std::string target, Console& console);

    /// Makes `run` also remove entries from the target that were imported from there and are no longer in the
    /// storage.
    void synchronize(ImportedTree imported) { imported_.emplace(std::move(imported)); }

    const std::string& target() const noexcept { return target_; }

    /// Exports to the target. Reports failures to the console.
    /// @throws Interrupted
    void run(MountedStorage& storage);

    /// Exports to another folder, and only adds entries there.
    void copyTo(const std::string& folder, MountedStorage& storage) const;

private:
    const std::string target_;
    const TargetClaim claim_;
    Console& console_;
    std::optional<ImportedTree> imported_; ///< from the target; none if the export only adds
};

} // namespace storage::host
