#include "host/mount/MountSyntax.h"

#include "host/mount/MountOptionList.h"
#include "host/support/NonEmptyPath.h"
#include "host/support/UsageError.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <thread>

namespace storage::host {

namespace {

/// More threads than processors have no use. With a single thread, a long write would block all other
/// requests.
unsigned usualThreads() {
    return std::clamp(std::thread::hardware_concurrency(), 2U, 8U);
}

std::string absolute(const std::string& path) {
    // Keeps "..", because after a symbolic link it does not lead to the textual parent.
    const std::string whole = std::filesystem::absolute(path);
    return whole.substr(0, std::max<std::size_t>(whole.find_last_not_of('/') + 1, 1));
}

} // namespace

MountSyntax::MountSyntax(CLI::App& app)
    : command_(app.add_subcommand("mount", "Mount the storage at a folder")),
      options_{.threads = usualThreads()} {
    command_->add_option("MOUNTPOINT", options_.mountPoint, "Folder to mount at")
        ->required()
        ->type_name("")
        ->check(nonEmptyPath());
    command_->add_flag("--background", background_, "Run in the background, return when mounted");
    CLI::Option* const importing =
        command_->add_option("--import", import_, "Import a folder of the disk before mounting")
            ->type_name("DISK-PATH")
            ->check(nonEmptyPath());
    CLI::Option* const exporting =
        command_
            ->add_option("--export-on-exit", export_, "Export the content to the disk when the mount ends")
            ->type_name("DISK-PATH")
            ->check(nonEmptyPath());
    command_
        ->add_option("--sync-on-exit", sync_,
                     "Like --export-on-exit, but also remove entries that were imported and removed since")
        ->type_name("DISK-PATH")
        ->check(nonEmptyPath())
        ->needs(importing)
        ->excludes(exporting);
    command_->add_option("--rescue", rescue_, "Folder for content that cannot be exported")
        ->type_name("DISK-PATH")
        ->check(nonEmptyPath());
    command_->add_flag("--read-only", readOnly_, "Refuse all changes");
    command_->add_flag("--allow-other", allowOther_, "Allow access by other users, subject to permissions");
    command_->add_option("-o", lists_, "Options of mount(8) and fstab(5), such as size=1g,mode=755")
        ->type_name("OPTION,...")
        ->allow_extra_args(false);
    command_->add_option("--threads", threads_, "Number of threads that process requests")
        ->type_name("N")
        ->check(CLI::Range(1, 256).description(""))
        ->default_str(std::to_string(options_.threads));
}

std::optional<MountOptions> MountSyntax::result() const {
    if (!*command_) {
        return std::nullopt;
    }
    MountOptions options = options_;
    for (const std::string& list : lists_) {
        applyOptionList(list, options);
    }
    applyOwnOptions(options);
    options.mountPoint = absolute(options.mountPoint);
    for (auto* const path : {&options.importFrom, &options.exportTo, &options.rescueTo}) {
        *path = *path ? std::optional(absolute(**path)) : std::nullopt;
    }
    if (options.ending == MountOptions::Ending::Synchronizes && !options.importFrom) {
        throw UsageError("sync_on_exit requires import");
    }
    return options;
}

/// Options of the command line override those of lists.
void MountSyntax::applyOwnOptions(MountOptions& options) const {
    options.importFrom = import_ ? import_ : options.importFrom;
    if (export_) {
        options.exportTo = export_;
        options.ending = MountOptions::Ending::Adds;
    }
    if (sync_) {
        options.exportTo = sync_;
        options.ending = MountOptions::Ending::Synchronizes;
    }
    options.rescueTo = rescue_ ? rescue_ : options.rescueTo;
    options.place = background_ ? MountOptions::Place::Background : MountOptions::Place::Foreground;
    options.writing = readOnly_ ? MountOptions::Writing::Refused : options.writing;
    options.users = allowOther_ ? MountOptions::Users::Everybody : options.users;
    options.threads = threads_ ? *threads_ : options.threads;
}

} // namespace storage::host
