#pragma once

#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace storage::host {

/// The operand of `unmount`, to be read by the library and then made a value.
///
/// Borrows the application, which refers to it: both must stay until the command line has been read. Thread safety: one
/// object is for one thread.
class UnmountSyntax {
public:
    explicit UnmountSyntax(CLI::App& app);
    UnmountSyntax(const UnmountSyntax&) = delete;
    UnmountSyntax& operator=(const UnmountSyntax&) = delete;
    ~UnmountSyntax() = default;

    /// The path of the mount point; nothing when the command line is another subcommand's.
    std::optional<std::string> result() const;

private:
    CLI::App* command_;
    std::string mountPoint_;
};

} // namespace storage::host
