#include "host/mount/MountRun.h"

#include "host/console/RunReported.h"
#include "host/disk/DiskEntry.h"
#include "host/mount/BackgroundStart.h"
#include "host/mount/ExitExport.h"
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
#include "host/support/StateFolder.h"
#include "host/transfer/Importer.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <malloc.h>
#include <optional>
#include <ostream>
#include <sys/statvfs.h>
#include <unistd.h>

namespace storage::host {

using foundation::storage::provider::FilenameSensitivity;
using foundation::storage::provider::IProvider;
using foundation::storage::provider::StorageIRI;

namespace {

/// The content of a folder becomes the content of the storage's root, all of it or the program ends.
void importFolder(MountedStorage& storage, Console& console, const Interruption& interruption,
                  const MountOptions& options) {
    const std::string& folder = *options.importFrom;
    if (DiskEntry::at(folder, DiskEntry::Links::Follow).kind != DiskEntry::Kind::Folder) {
        throw CommandError(folder, "not a folder; its content is what would be imported");
    }
    requireRoomForImport(storage.memory(), folder);
    TransferTotals totals;
    {
        ImportLog imports; // read by nobody: the mount checks nothing
        MountImportTarget target(storage, options.xattrs);
        Importer importer(target, console, interruption, imports);
        importer.run(folder, StoragePath(), RootAttributes::Untouched);
        totals = importer.totals();
    } // takes its progress off the terminal
    if (console.failuresOfCommand() > 0) {
        throw CommandError(folder, "not all of it could be imported, so nothing was mounted");
    }
    console.out() << "imported " << totals.summary() << '\n' << std::flush;
}

/// What the mount knows of names would not be true of a storage for which others are the same.
void refuseCaseInsensitive(const IProvider& provider, const std::string& plugin) {
    if (provider.doGetFilenameSensitivity(StorageIRI(u"/")) != FilenameSensitivity::CaseSensitive) {
        throw CommandError(plugin, "a storage that ignores the case of names cannot be mounted");
    }
}

/// Asks the mount something: the answer means that programs get answers too.
void requireAnswer(const std::string& mountPoint) {
    struct statvfs space {};
    if (::statvfs(mountPoint.c_str(), &space) != 0) {
        throw diskError(mountPoint, errno);
    }
}

/// With the mount point by its own path, not by one of links: the kernel knows it by that. One that is not there is for
/// the mounting to complain of.
MountOptions resolved(MountOptions options) {
    std::error_code error;
    const std::filesystem::path path = std::filesystem::canonical(options.mountPoint, error);
    if (!error) {
        options.mountPoint = path;
    }
    return options;
}

/// What is below the mount point is hidden as long as the mount is there: an export to there would go into the storage itself.
void refuseBelow(const std::string& mountPoint, const std::string& path) {
    std::error_code error;
    const std::string place = std::filesystem::weakly_canonical(path, error);
    if ((place + '/').starts_with(mountPoint + '/')) {
        throw CommandError(path, "the mount would hide it; choose a folder outside of " + mountPoint);
    }
}

/// Large blocks go back to the system when they are freed. By default the C library raises this limit with each of them that
/// is freed, and keeps the next ones: addresses that a limit on memory counts, and that removing files does not give back.
void returnLargeBlocks() {
    constexpr int largeFrom = 4 << 20; // bytes
    ::mallopt(M_MMAP_THRESHOLD, largeFrom);
}

/// Dirty pages of the mount cannot be freed before this process has taken them. Where a control group limits memory, programs in
/// the same group must not leave it without room for that.
void limitWriteBack(const MountPlace& place, const MachineMemory& memory) {
    constexpr std::uint64_t part = 256;
    constexpr std::uint64_t least = 1U << 20U; // bytes
    if (memory.isOfGroup) {
        place.limitDirtyPages(std::max<std::uint64_t>(least, memory.info.capacity / part));
    } else {
        place.raiseWriteBackLimit();
    }
}

/// One run of the program, from the making of the provider to the export at the end.
class Mount {
public:
    Mount(const MountOptions& options, Console& console, Interruption& interruption,
          BackgroundStart* background)
        : options_(resolved(options)),
          console_(console),
          interruption_(interruption),
          background_(background),
          rescue_(options_.rescueTo.value_or(stateFolder()), options_.mountPoint) {}

    ExitStatus run(const PluginLibrary& library) {
        const LoadedProvider provider = library.buildProvider();
        refuseCaseInsensitive(*provider, library.path());
        refuseBelow(options_.mountPoint, rescue_.base());
        if (rescue_.baseHasNotes()) {
            console_.notice(rescue_.base(),
                            "what earlier mounts could not export is there; remove it when it is done with");
        }
        std::optional<ExitExport> exitExport;
        if (options_.exportTo) {
            refuseBelow(options_.mountPoint, *options_.exportTo);
            exitExport.emplace(*options_.exportTo, console_, interruption_);
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
        storage.list(storage.root(), 0, MountedStorage::ListingDetail::Names, // so that its links are counted
                     [](const auto&, const auto&, auto) { return false; });
        serve(storage, exitExport ? &*exitExport : nullptr);
        if (!exitExport && storage.isLasting()) {
            noticeUnkept(storage);
        }
        provider->doShutdown();
        return console_.failuresOfCommand() == 0 ? ExitStatus::Success : ExitStatus::Failure;
    }

private:
    /// What the storage holds at the beginning is counted only if that makes a difference.
    MountedStorage::Settings settings(const IProvider& provider) const {
        MountedStorage::Settings settings{.limits = {options_.size, options_.entries}};
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
            importFolder(storage, console_, interruption_, options_);
            return;
        }
        if (!std::filesystem::equivalent(folder, exitExport->target())) {
            throw CommandError(exitExport->target(),
                               "not the folder that --import names; only that can be made equal");
        }
        ImportedTree tree(folder); // before the import: what appears later does not count
        importFolder(storage, console_, interruption_, options_);
        tree.forgetSkipped(storage);
        exitExport->synchronize(std::move(tree));
    }

    void noticeUnkept(MountedStorage& storage) const {
        const std::string unkept = storage.unkept().summary();
        if (!unkept.empty()) {
            console_.notice(options_.mountPoint, unkept);
        }
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
        requireAnswer(options_.mountPoint);
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
    Interruption& interruption_;
    BackgroundStart* const background_; ///< none in the foreground
    RescueFolder rescue_;
};

} // namespace

ExitStatus runMount(const std::string& plugin, const MountOptions& options, Console& console) {
    Interruption interruption;
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
        returnLargeBlocks();
        library.emplace(plugin);
        return Mount(options, console, interruption, background ? &*background : nullptr).run(*library);
    });
}

} // namespace storage::host
