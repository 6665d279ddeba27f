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

/// Copies files and trees from one storage of a session to another one: bytes, times, writable flags, and what the session
/// has kept of an import, with the entries that the storages cannot hold. Names that are one file stay one file for an
/// export.
///
/// Goes on after a failure, which the console counts. A file is in the target storage complete or not at all; a file that
/// it replaces stays as it was until then. Depth costs memory but no stack; a file of any size passes through one buffer.
///
/// Borrows session and progress. Thread safety: one object is for one thread.
class StorageCopier {
public:
    /// @param target  in the storage that is copied to
    StorageCopier(Session& session, const StoragePath& target, ProgressMeter& progress);

    /// Copies one entry and everything below it.
    /// @param source          an existing file or folder in another storage
    /// @param target          where the entry itself comes to stand; a folder that is there is added to, a writable file
    ///                        replaced by a file
    /// @param rootAttributes  Untouched if a folder that is there keeps its own. Those below it always do.
    /// @throws CommandError when the entry itself cannot be copied
    /// @throws Interrupted
    void run(const StoragePath& source, const StoragePath& target, RootAttributes rootAttributes);

private:
    struct OpenFolder {
        StoragePath source;
        StoragePath target;
        DiskAttributes attributes;
        bool keepsOwn = false; ///< the attributes are not for it
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
        linkGroups_;                       ///< of this run: the group in the target for one in the source
    const std::unique_ptr<char[]> buffer_; ///< of transferBufferSize; most transfers use little of it
};

} // namespace storage::host
