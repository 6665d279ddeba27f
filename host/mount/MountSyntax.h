#pragma once

#include "host/mount/MountOptions.h"

#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace storage::host {

/// The options of `mount`: registers them with the command-line parser and converts the result to a value.
///
/// Borrows the application, which refers to this object. Both must exist until the command line is parsed.
/// Not thread-safe.
class MountSyntax {
public:
    explicit MountSyntax(CLI::App& app);
    MountSyntax(const MountSyntax&) = delete;
    MountSyntax& operator=(const MountSyntax&) = delete;
    ~MountSyntax() = default;

    /// Returns nothing if the command line has another subcommand.
    /// @throws UsageError
    std::optional<MountOptions> result() const;

private:
    void applyOwnOptions(MountOptions& options) const;

    CLI::App* command_;
    MountOptions options_;
    std::optional<std::string> import_;
    std::optional<std::string> export_;
    std::optional<std::string> sync_;
    std::optional<std::string> rescue_;
    std::vector<std::string> lists_;
    std::optional<unsigned> threads_;
    bool background_ = false;
    bool readOnly_ = false;
    bool allowOther_ = false;
};

} // namespace storage::host
