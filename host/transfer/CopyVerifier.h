#pragma once

#include "host/console/ProgressMeter.h"
#include "host/session/Session.h"
#include "host/storage/StoragePath.h"
#include "host/transfer/ExportSource.h"
#include "host/transfer/SessionExportSource.h"

#include <memory>
#include <vector>

namespace storage::host {

/// Verifies that the copy of a tree in another storage is complete: every name, the kind of every entry and
/// every byte. Attributes are not compared, because storages keep them in different ways. Additional entries
/// in the copy are allowed.
///
/// Borrows session and progress meter. Not thread-safe.
class CopyVerifier {
public:
    CopyVerifier(Session& session, ProgressMeter& progress);

    /// @throws CommandError at the first difference, and when an entry cannot be read
    /// @throws Interrupted
    void run(const StoragePath& source, const StoragePath& copy);

private:
    struct Pair {
        StoragePath source;
        StoragePath copy;
        EntryKind kind = EntryKind::File;
    };

    EntryKind kindOf(const StoragePath& path);
    void compareFolder(const Pair& pair);
    std::vector<ExportSource::Child> childrenOf(const StoragePath& folder);
    void compareFile(const Pair& pair);

    Session& session_;
    ProgressMeter& progress_;
    SessionExportSource entries_;
    std::vector<Pair> open_; ///< entries to compare
    std::vector<char> sourceBuffer_;
    std::vector<char> copyBuffer_;
};

} // namespace storage::host
