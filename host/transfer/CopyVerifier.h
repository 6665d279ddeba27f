#pragma once

#include "host/console/ProgressMeter.h"
#include "host/session/Session.h"
#include "host/storage/StoragePath.h"
#include "host/transfer/ExportSource.h"
#include "host/transfer/SessionExportSource.h"

#include <memory>
#include <vector>

namespace storage::host {

/// Finds out whether a tree of one storage is in another one as a whole: every name, the kind of every entry and every
/// byte. Attributes are not compared, as storages keep them in different ways, and more entries in the copy are no
/// difference.
///
/// Borrows session and progress. Thread safety: one object is for one thread.
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
    std::vector<Pair> open_; ///< what is still to be compared
    std::vector<char> sourceBuffer_;
    std::vector<char> copyBuffer_;
};

} // namespace storage::host
