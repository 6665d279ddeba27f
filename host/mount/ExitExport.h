#pragma once

#include "host/console/Console.h"
#include "host/mount/MountedStorage.h"
#include "host/support/Interruption.h"

#include <string>

namespace storage::host {

/// Copies the content of a mounted storage to the folder of the disk where it is to end up.
///
/// Borrows provider, console and interruption. Thread safety: one object is for one thread.
class ExitExport {
public:
    using IProvider = foundation::storage::provider::IProvider;

    /// @param target  absolute path of a folder; its parent must exist
    /// @throws CommandError when nothing could be exported to there
    ExitExport(std::string target, const IProvider& provider, Console& console,
               const Interruption& interruption);

    const std::string& target() const noexcept { return target_; }

    /// Reports to the console what could not be exported.
    /// @throws Interrupted
    void run(MountedStorage& storage) const { copyTo(target_, storage); }

    /// The same, to another folder.
    void copyTo(const std::string& folder, MountedStorage& storage) const;

private:
    const std::string target_;
    const IProvider& provider_;
    Console& console_;
    const Interruption& interruption_;
};

} // namespace storage::host
