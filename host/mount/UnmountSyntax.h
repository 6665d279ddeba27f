#pragma once

#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace storage::host {

/// The operand of `unmount`: registers it with the command-line parser and returns its value.
///
/// Borrows the application, which refers to this object. Both must exist until the command line is parsed.
/// Not thread-safe.
class UnmountSyntax {
public:
    explicit UnmountSyntax(CLI::App& app);
    UnmountSyntax(const UnmountSyntax&) = delete;
    UnmountSyntax& operator=(const UnmountSyntax&) = delete;
    ~UnmountSyntax() = default;

    /// The path of the mount point; nothing if the command line has another subcommand.
    std::optional<std::string> result() const;

private:
    CLI::App* command_;
    std::string mountPoint_;
};

} // namespace storage::host
