#pragma once

#include "host/console/ProgressMeter.h"
#include "host/storage/StoragePath.h"
#include "host/transfer/ExportSource.h"
#include "host/transfer/ExportTarget.h"
#include "host/transfer/RootAttributes.h"
#include "host/transfer/TransferOptions.h"
#include "host/transfer/TransferTotals.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace storage::host {

/// Copies files and trees from a storage to disk or to another target, with all attributes that the source
/// has. Owners and extended attributes that the disk does not accept are reported in one line per run. They
/// are not failures.
///
/// Continues after a failure, which the console counts. Memory use grows with the depth of the tree and the
/// parts of its folders, stack use does not. Files of any size pass through one buffer.
///
/// Borrows source and console. Not thread-safe.
class Exporter {
public:
    Exporter(ExportSource& source, Console& console, TransferOptions options = {});

    /// Exports one existing entry and everything below it to the disk.
    /// @param target          path of the entry itself on disk. An existing folder is extended, an existing
    ///     entry of the same kind is replaced. Any other existing entry is an error.
    /// @param rootAttributes  Untouched for a folder that is only extended; the path may be a symbolic link
    /// @throws Interrupted
    void run(const StoragePath& source, const std::string& target, RootAttributes rootAttributes);

    /// The same for a target that accepts several exports.
    /// @param place  of the entry in the target
    /// @param name   of the entry in the target; empty for a folder that is only extended
    void run(const StoragePath& source, ExportTarget& target, const std::string& place,
             const std::string& name);

    /// @param call  called after each exported entry
    void callAfterEntries(std::function<void()> call) { afterEntry_ = std::move(call); }

    /// The progress of all runs.
    ProgressMeter& progress() noexcept { return progress_; }

    /// What all runs have exported.
    const TransferTotals& totals() const noexcept { return totals_; }

private:
    using Verdict = EntrySelection::Verdict;

    struct OpenFolder {
        StoragePath source;
        std::string name;
        std::string place;
        Verdict verdict;
        ExportSource::Part part;
        std::size_t next = 0; ///< child of the part
        bool isEntered = false;
    };

    void exportNext();
    void exportEntry(const StoragePath& source, EntryKind kind, const std::string& name,
                     const std::string& place, Verdict verdict);
    void exportFile(const StoragePath& source, const std::string& name, const std::string& place);
    void exportSpecial(const StoragePath& source, EntryKind kind, const std::string& name,
                       const std::string& place);
    void enterFolders();
    void enterFolder(OpenFolder& folder);
    void readPart(std::uint64_t position);
    void leaveFolder(const OpenFolder& done);
    void countEntry();
    bool isUnchanged(const StoragePath& source, const std::string& place);
    bool printInDryRun(const StoragePath& source, EntryKind kind, const std::string& place);
    void notice(const std::string& path, const std::string& text);

    ExportSource& source_;
    Console& console_;
    const TransferOptions options_;
    ProgressMeter progress_;
    TransferTotals totals_;
    std::function<void()> afterEntry_ = [] {};
    ExportTarget* target_ = nullptr;       ///< of the current run
    StoragePath top_;                      ///< the entry that the current run exports
    std::vector<OpenFolder> open_;         ///< the folders from the top to the current entry
    const std::unique_ptr<char[]> buffer_; ///< transferBufferSize bytes, not zeroed: most transfers use few
};

} // namespace storage::host
