#include "host/mount/MountRun.h"

#include "host/console/RunReported.h"
#include "host/disk/DiskEntry.h"
#include "host/mount/BackgroundStart.h"
#include "host/mount/ExitExport.h"
#include "host/mount/FreeHeap.h"
#include "host/mount/FuseSession.h"
#include "host/mount/FuseWorkers.h"
#include "host/mount/ImportSize.h"
#include "host/mount/MachineMemory.h"
#include "host/mount/MemoryPressure.h"
#include "host/mount/MountEnding.h"
#include "host/mount/MountImportTarget.h"
#include "host/mount/MountedStorage.h"
#include "host/mount/RescueFolder.h"
#include "host/plugin/PluginLibrary.h"
#include "host/session/ImportLog.h"
#include "host/support/CommandError.h"
#include "host/support/Interruption.h"
#include "host/support/StateFolder.h"
#include "host/transfer/Importer.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <ostream>
#include <sys/statvfs.h>
#include <unistd.h>

namespace storage::host {

using provider::FilenameSensitivity;
using provider::IProvider;
using provider::StorageIRI;

namespace {

/// Imports the content of a folder into the storage's root.
/// @throws CommandError unless everything was imported
void importFolder(MountedStorage& storage, Console& console, const MountOptions& options) {
    const std::string& folder = *options.importFrom;
    if (DiskEntry::at(folder, DiskEntry::Links::Follow).kind != DiskEntry::Kind::Folder) {
        throw CommandError(folder, "not a folder; choose a folder to import");
    }
    requireRoomForImport(storage.memory(), folder);
    TransferTotals totals;
    {
        ImportLog imports; // required by the importer, but not used by a mount
        MountImportTarget target(storage, options.xattrs);
        Importer importer(target, console, imports);
        importer.run(folder, StoragePath(), RootAttributes::Untouched);
        totals = importer.totals();
    } // the importer's destructor clears the progress line
    if (console.failuresOfCommand() > 0) {
        throw CommandError(folder, "could not be imported completely, so nothing was mounted");
    }
    console.out() << "imported " << totals.summary() << '\n' << std::flush;
}

/// The mount caches names, which is wrong if the storage treats different names as equal.
void refuseCaseInsensitive(const IProvider& provider, const std::string& plugin) {
    if (provider.doGetFilenameSensitivity(StorageIRI(u"/")) != FilenameSensitivity::CaseSensitive) {
        throw CommandError(plugin, "its storage is case-insensitive, so it cannot be mounted");
    }
}

/// Waits until the mount replies to a request, so that programs can use it.
void requireReply(const std::string& mountPoint) {
    struct statvfs space {};
    if (::statvfs(mountPoint.c_str(), &space) != 0) {
        throw diskError(mountPoint, errno);
    }
}

/// Resolves symbolic links in the mount point, because the kernel lists mounts by their resolved paths. Does
/// not report a missing mount point: `FuseSession` does.
MountOptions resolved(MountOptions options) {
    std::error_code error;
    const std::filesystem::path path = std::filesystem::canonical(options.mountPoint, error);
    if (!error) {
        options.mountPoint = path;
    }
    return options;
}

/// The mount hides everything below the mount point, so an export to there would go into the storage itself.
void refuseBelow(const std::string& mountPoint, const std::string& path) {
    std::error_code error;
    const std::string place = std::filesystem::weakly_canonical(path, error);
    if ((place + '/').starts_with(mountPoint + '/')) {
        throw CommandError(path, "the mount would hide it; choose a folder outside " + mountPoint);
    }
}

/// The kernel can free dirty pages of the mount only after this process has copied them. If a control group
/// limits the memory, dirty pages of programs in the same group must leave room for these copies.
void limitWriteBack(const MountPlace& place, const MachineMemory& memory) {
    constexpr std::uint64_t part = 256;
    constexpr std::uint64_t least = 1U << 20U; // bytes
    if (memory.isOfGroup) {
        place.limitDirtyPages(std::max<std::uint64_t>(least, memory.info.capacity / part));
    } else {
        place.raiseWriteBackLimit();
    }
}

/// One mount, from the creation of the provider to the export at the end.
///
/// Borrows all constructor arguments except the options. Not thread-safe.
class Mount {
public:
    Mount(const MountOptions& options, Console& console, BackgroundStart* background)
        : options_(resolved(options)),
          console_(console),
          background_(background),
          rescue_(options_.rescueTo.value_or(stateFolder()), options_.mountPoint) {}

    ExitStatus run(const PluginLibrary& library) {
        const LoadedProvider provider = library.buildProvider();
        refuseCaseInsensitive(*provider, library.path());
        refuseBelow(options_.mountPoint, rescue_.base());
        if (rescue_.baseHasNotes()) {
            console_.notice(
                rescue_.base(),
                "contains what earlier mounts could not export; remove it when you no longer need it");
        }
        std::optional<ExitExport> exitExport;
        if (options_.exportTo) {
            refuseBelow(options_.mountPoint, *options_.exportTo);
            if (options_.rescueTo) {
                rescue_.requireUsable();
            }
            exitExport.emplace(*options_.exportTo, console_);
        }
        MountedStorage storage(*provider, settings(*provider));
        if (options_.importFrom) {
            importContent(storage, exitExport ? &*exitExport : nullptr);
        }
        if (options_.rootPermissions) {
            AttributeChange change;
            change.permissions = options_.rootPermissions;
            storage.change(storage.root(), change);
        }
        storage.list(storage.root(), 0, MountedStorage::ListingDetail::Names, // loads the root's link count
                     [](const auto&, const auto&, auto) { return false; });
        serve(storage, exitExport ? &*exitExport : nullptr);
        provider->doShutdown();
        return console_.failuresOfCommand() == 0 ? ExitStatus::Success : ExitStatus::Failure;
    }

private:
    /// Counts what the storage already holds, but only if there are limits.
    MountedStorage::Settings settings(const IProvider& provider) const {
        MountedStorage::Settings settings{.limits = {options_.size, options_.entries}};
        settings.isExported = options_.exportTo.has_value();
        settings.owner.user = options_.user.value_or(settings.owner.user);
        settings.owner.group = options_.group.value_or(settings.owner.group);
        if (settings.limits.any()) {
            settings.use = StorageUse::of(provider);
        }
        return settings;
    }

    void importContent(MountedStorage& storage, ExitExport* exitExport) {
        const std::string& folder = *options_.importFrom;
        if (options_.ending == MountOptions::Ending::Adds) {
            importFolder(storage, console_, options_);
            return;
        }
        if (!std::filesystem::equivalent(folder, exitExport->target())) {
            throw CommandError(exitExport->target(),
                               "not the folder of --import; only that folder can be synchronized");
        }
        ImportedTree tree(folder); // before the import, so that entries that appear later do not count
        importFolder(storage, console_, options_);
        tree.forgetSkipped(storage);
        exitExport->synchronize(std::move(tree));
    }

    void serve(MountedStorage& storage, ExitExport* exitExport) {
        ChangeGate gate;
        UnmountRequests requests;
        const MachineMemory memory = MachineMemory::read();
        if (memory.isOfGroup) {
            protectFromMemoryPressure();
        }
        const FuseSession session(storage, gate, requests, options_,
                                  memory.isOfGroup ? WriteMode::Through : WriteMode::Back);
        FuseWorkers workers(session, storage.memory(), options_.threads);
        allowWaitingForWriteBack(); // this thread only exports
        requireReply(options_.mountPoint);
        limitWriteBack(session.place(), memory);
        announce();
        MountEnding(options_.mountPoint, session, workers, storage, gate, requests, exitExport, rescue_,
                    console_)
            .run();
    }

    void announce() {
        if (background_ != nullptr) {
            background_->ready();
            console_.showNoProgress();
        } else {
            console_.out() << "mounted at " << options_.mountPoint
                           << "; Ctrl-C or 'qzstorage unmount' ends it\n"
                           << std::flush;
        }
    }

    const MountOptions options_;
    Console& console_;
    BackgroundStart* const background_; ///< null in the foreground
    RescueFolder rescue_;
};

} // namespace

ExitStatus runMount(const std::string& plugin, const MountOptions& options, Console& console) {
    const Interruption interruption;
    std::optional<BackgroundStart> background;
    std::optional<PluginLibrary> library; // outlives the exceptions of the plug-in's own classes
    console.beginCommand("mount");
    return runReported(console, [&] {
        if (options.place == MountOptions::Place::Background) {
            background.emplace();
            if (const auto status = background->waitAsStarter()) {
                return *status;
            }
        }
        useOneHeap();
        library.emplace(plugin);
        return Mount(options, console, background ? &*background : nullptr).run(*library);
    });
}

} // namespace storage::host
