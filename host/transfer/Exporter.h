#pragma once

#include "host/console/ProgressMeter.h"
#include "host/storage/StoragePath.h"
#include "host/support/Interruption.h"
#include "host/transfer/ExportSource.h"
#include "host/transfer/ExportTarget.h"
#include "host/transfer/RootAttributes.h"
#include "host/transfer/TransferOptions.h"
#include "host/transfer/TransferTotals.h"

#include <memory>
#include <string>
#include <vector>

namespace storage::host {

/// Copies files and trees from a storage to the disk, with all that the source knows of them. Owners and extended attributes
/// that the target does not take are one line for each run, and no failure.
///
/// Goes on after a failure, which the console counts. Depth costs memory but no stack; a file of any size passes through one
/// buffer.
///
/// Borrows source, console and interruption. Thread safety: one object is for one thread.
class Exporter {
public:
    Exporter(ExportSource& source, Console& console, const Interruption& interruption,
             TransferOptions options = {});

    /// Exports one existing entry and everything below it to the disk.
    /// @param target          path on disk where the entry itself comes to stand; a folder that is there is
    ///                        added to, an entry of the same kind replaced, anything else refused
    /// @param rootAttributes  Untouched for a folder that is only to be filled, which a link may lead to
    /// @throws Interrupted
    void run(const StoragePath& source, const std::string& target, RootAttributes rootAttributes);

    /// The same to a target that takes several exports.
    /// @param place  of the entry in the target
    /// @param name   that it has there; empty for a folder that is only to be filled
    void run(const StoragePath& source, ExportTarget& target, const std::string& place,
             const std::string& name);

    /// Shows how far all runs are.
    ProgressMeter& progress() noexcept { return progress_; }

    /// What was exported by all runs.
    const TransferTotals& totals() const noexcept { return totals_; }

private:
    using Verdict = EntrySelection::Verdict;

    struct OpenFolder {
        StoragePath source;
        std::string name;
        std::string place;
        Verdict verdict;
        std::vector<ExportSource::Child> children;
        std::size_t next = 0;
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
    void leaveFolder(const OpenFolder& done);
    bool isUnchanged(const StoragePath& source, const std::string& place);
    bool isOnlyPrinted(const StoragePath& source, EntryKind kind, const std::string& place);
    void notice(const std::string& path, const std::string& text);

    ExportSource& source_;
    Console& console_;
    const Interruption& interruption_;
    const TransferOptions options_;
    ProgressMeter progress_;
    TransferTotals totals_;
    ExportTarget* target_ = nullptr;       ///< of this run
    StoragePath top_;                      ///< the entry that this run exports
    std::vector<OpenFolder> open_;         ///< the folders whose entries are being exported
    const std::unique_ptr<char[]> buffer_; ///< of transferBufferSize; most transfers use little of it
};

} // namespace storage::host
