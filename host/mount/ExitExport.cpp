#include "host/mount/ExitExport.h"

#include "host/mount/ExportPace.h"
#include "host/mount/MountExportSource.h"
#include "host/support/CommandError.h"
#include "host/transfer/DiskDestination.h"
#include "host/transfer/Exporter.h"

#include <cerrno>
#include <filesystem>
#include <unistd.h>
#include <utility>

namespace storage::host {

namespace {

/// Checks at the start whether the export at the end can succeed, before anything is in the storage.
std::string requireWritable(std::string path) {
    const bool exists = std::filesystem::exists(path);
    const std::string folder = exists ? path : std::filesystem::path(path).parent_path().string();
    if (exists && !std::filesystem::is_directory(path)) {
        throw CommandError(path, "not a folder; choose a folder as the export target");
    }
    if (::access(folder.c_str(), W_OK | X_OK) != 0) {
        throw diskError(folder, errno);
    }
    return path;
}

/// Undoes `setAside` in the destructor, unless the export was complete.
class AsideGuard {
public:
    explicit AsideGuard(ImportedTree& imported) : imported_(imported) {}
    ~AsideGuard() { imported_.putBack(); }
    AsideGuard(const AsideGuard&) = delete;
    AsideGuard& operator=(const AsideGuard&) = delete;

private:
    ImportedTree& imported_;
};

} // namespace

ExitExport::ExitExport(std::string target, Console& console)
    : target_(requireWritable(std::move(target))), claim_(target_), console_(console) {}

void ExitExport::run(MountedStorage& storage) {
    if (!imported_) {
        copyTo(target_, storage);
        return;
    }
    const AsideGuard guard(*imported_);
    imported_->setAside(storage, console_);
    copyTo(target_, storage);
    if (console_.failuresOfCommand() == 0) { // otherwise the disk may hold the only copy of the moved entries
        imported_->removeMissing(storage, console_);
    }
}

void ExitExport::copyTo(const std::string& folder, MountedStorage& storage) const {
    console_.attempt(folder, [&] {
        DiskDestination destination(folder, 1);
        MountExportSource source(storage);
        Exporter exporter(source, console_);
        ExportPace pace(folder);
        exporter.callAfterEntries([&] { pace.countEntry(); });
        exporter.run(StoragePath(), destination.of({}), destination.attributesFor({}));
    });
}

} // namespace storage::host
