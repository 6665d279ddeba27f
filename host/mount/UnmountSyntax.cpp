#include "host/mount/UnmountSyntax.h"

#include "host/support/NonEmptyPath.h"

#include <CLI/CLI.hpp>

namespace storage::host {

UnmountSyntax::UnmountSyntax(CLI::App& app)
    : command_(app.add_subcommand("unmount", "Unmount a storage, and wait until its content is exported")) {
    command_->add_option("MOUNTPOINT", mountPoint_, "Folder at which it is mounted")
        ->required()
        ->type_name("")
        ->check(nonEmptyPath());
}

std::optional<std::string> UnmountSyntax::result() const {
    return *command_ ? std::optional(mountPoint_) : std::nullopt;
}

} // namespace storage::host
