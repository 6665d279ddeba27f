#pragma once

#include "host/inspect/InspectOptions.h"

#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace storage::host {

/// Command-line syntax of `inspect`.
///
/// Borrows the application, which refers to this object: both must exist until the command line is parsed.
/// Not thread-safe.
class InspectSyntax {
public:
    explicit InspectSyntax(CLI::App& app);
    InspectSyntax(const InspectSyntax&) = delete;
    InspectSyntax& operator=(const InspectSyntax&) = delete;
    ~InspectSyntax() = default;

    /// Returns nothing if the command line selects another subcommand.
    /// @param plugin  value of the program's own option
    /// @throws UsageError
    std::optional<InspectOptions> result(const std::optional<std::string>& plugin) const;

private:
    CLI::App* command_;
    std::optional<std::string> plugin_;
    bool json_ = false;
};

} // namespace storage::host
