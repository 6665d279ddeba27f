#pragma once

#include "host/console/ProgressMeter.h"
#include "host/session/Session.h"
#include "host/storage/StoragePath.h"
#include "host/transfer/ExportSource.h"
#include "host/transfer/RootAttributes.h"
#include "host/transfer/SessionExportSource.h"
#include "host/transfer/SessionImportTarget.h"

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace storage::host {

/// Copies files and trees from one storage of a session to another one: bytes, times, writable flags, and the
/// attributes and special entries that the session keeps for exports. Hard links remain hard links for an
/// export.
///
/// Continues after a failure, which the console counts. An incomplete new file is removed. A file that is to
/// be replaced stays unchanged until the new one is complete. Memory use grows with the depth of the tree,
/// stack use does not. Files of any size pass through one buffer.
///
/// Borrows session and progress meter. Not thread-safe.
class StorageCopier {
public:
    /// @param target  any path in the target storage
    StorageCopier(Session& session, const StoragePath& target, ProgressMeter& progress);

    /// Copies one entry and everything below it.
    /// @param source          an existing file or folder in another storage
    /// @param target          path of the entry itself. An existing folder is extended, an existing writable
    ///     file is replaced by a file.
    /// @param rootAttributes  Untouched if an existing folder at `target` keeps its attributes. Existing
    ///     folders below it always do.
    /// @throws CommandError when the entry itself cannot be copied
    /// @throws Interrupted
    void run(const StoragePath& source, const StoragePath& target, RootAttributes rootAttributes);

private:
    struct OpenFolder {
        StoragePath source;
        StoragePath target;
        DiskAttributes attributes;
        bool keepsOwn = false; ///< its attributes do not change
        std::vector<ExportSource::Child> children;
        std::size_t next = 0;
    };

    void copyNext();
    void copyEntry(const StoragePath& source, EntryKind kind, const StoragePath& target,
                   RootAttributes attributes);
    void enterFolder(const StoragePath& source, const StoragePath& target, RootAttributes attributes);
    void leaveFolder(const OpenFolder& folder);
    void copyFile(const StoragePath& source, const StoragePath& target);
    void copyBytes(ExportSource::Reader& from, ImportTarget::File& to, const SessionStorage& source);
    void copySpecial(const StoragePath& source, EntryKind kind, const StoragePath& target);
    DiskAttributes attributesOf(const StoragePath& path, EntryKind kind);

    Session& session_;
    const SessionStorage& to_;
    ProgressMeter& progress_;
    SessionExportSource source_;
    SessionImportTarget target_;
    std::vector<OpenFolder> open_;
    std::map<std::uint64_t, std::uint64_t>
        linkGroups_;                       ///< of the current run: group in the source to that in the target
    const std::unique_ptr<char[]> buffer_; ///< transferBufferSize bytes, not zeroed: most transfers use few
};

} // namespace storage::host
