#pragma once

#include "host/console/ProgressMeter.h"
#include "host/disk/FileDescriptor.h"
#include "host/disk/WritableFolder.h"
#include "host/storage/TreeWalk.h"
#include "host/support/Interruption.h"
#include "host/transfer/RootAttributes.h"
#include "host/transfer/TransferTotals.h"
#include "hostapi/storage/provider/IProvider.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace storage::host {

/// Copies files and trees from the storage to the disk, with times, writable flags and permissions.
///
/// What is not complete can be read by its owner only. A file that is replaced keeps its owner, if the user may give files
/// away, and its permissions but for the writable flag. A folder that is made has its permissions as soon as nothing more is
/// added to it, also after a failure or an interruption.
///
/// All below the target is opened folder by folder, so no link leads out of the tree. Several programs may export into one
/// folder. What a killed one left behind is removed.
///
/// Goes on after a failure, which the console counts. A file stands under its name on disk complete or not at
/// all. Depth costs memory but no stack; a file of any size passes through one buffer.
///
/// Borrows provider, console and interruption. Thread safety: one object is for one thread.
class Exporter {
public:
    using IProvider = foundation::storage::provider::IProvider;

    /// The permission bits of an entry of the storage; nothing where they are not known.
    using ModeOf = std::function<std::optional<mode_t>(const StoragePath& path)>;

    /// @param modeOf  where it returns nothing, the umask decides
    Exporter(const IProvider& provider, Console& console, const Interruption& interruption, ModeOf modeOf);

    /// Exports one existing entry and everything below it.
    /// @param target          path on disk where the entry itself comes to stand; a folder that is there is
    ///                        added to, a file replaced, anything else refused
    /// @param rootAttributes  Untouched for a folder that is only to be filled, which a link may lead to
    /// @throws Interrupted
    void run(const StoragePath& source, const std::string& target, RootAttributes rootAttributes);

    /// What was exported by all runs.
    const TransferTotals& totals() const noexcept { return totals_; }

private:
    struct OpenFolder {
        OpenFolder() = default;
        OpenFolder(FileDescriptor opened, WritableFolder::ReadOnly readOnly)
            : folder(std::make_unique<WritableFolder>(std::move(opened), readOnly)) {}

        std::unique_ptr<WritableFolder> folder;
        std::optional<mode_t> mode; ///< that a new folder is to have in the end, but for the writable flag
    };

    static OpenFolder openAbove(const std::string& target);
    static OpenFolder openNamed(const std::string& target);
    OpenFolder makeFolder(WritableFolder& above, const std::string& name, const StoragePath& source) const;
    void visit(TreeWalk& walk, const TreeWalk::Step& step, const std::string& target);
    void enterFolder(TreeWalk& walk, OpenFolder folder);
    void leaveFolder(const TreeWalk::Step& step, const OpenFolder& done);
    void exportFile(const StoragePath& source, WritableFolder& folder, const std::string& name);
    unsigned long long copyBytes(const StoragePath& source, const FileDescriptor& to);

    const IProvider& provider_;
    Console& console_;
    const Interruption& interruption_;
    const ModeOf modeOf_;
    const mode_t newFileMode_;
    ProgressMeter progress_;
    TransferTotals totals_;
    RootAttributes rootAttributes_ = RootAttributes::FromSource;
    OpenFolder above_;                     ///< the folder of the target
    std::vector<OpenFolder> open_;         ///< the folders that the walk is in
    const std::unique_ptr<char[]> buffer_; ///< of transferBufferSize; most transfers use little of it
};

} // namespace storage::host
