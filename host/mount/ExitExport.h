#pragma once

#include "host/console/Console.h"
#include "host/disk/TargetClaim.h"
#include "host/mount/ImportedTree.h"
#include "host/mount/MountedStorage.h"
#include "host/support/Interruption.h"

#include <optional>
#include <string>
#include <utility>

namespace storage::host {

/// Copies the content of a mounted storage to the folder of the disk where it is to end up.
///
/// Claims the folder as long as it lives. Borrows console and interruption. Thread safety: one object is for one thread.
class ExitExport {
public:
    /// @param target  absolute path of a folder; its parent must exist
    /// @throws CommandError when nothing could be exported to there
    ExitExport(std::string target, Console& console, const Interruption& interruption);

    /// What the storage does not have any more of what was imported from the target is removed there at the end.
    void synchronize(ImportedTree imported) { imported_.emplace(std::move(imported)); }

    const std::string& target() const noexcept { return target_; }

    /// Reports to the console what could not be exported.
    /// @throws Interrupted
    void run(MountedStorage& storage);

    /// The same, to another folder.
    void copyTo(const std::string& folder, MountedStorage& storage) const;

private:
    const std::string target_;
    const TargetClaim claim_;
    Console& console_;
    const Interruption& interruption_;
    std::optional<ImportedTree> imported_; ///< from the target; none if the export only adds
};

} // namespace storage::host
