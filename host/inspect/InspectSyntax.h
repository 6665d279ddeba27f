#pragma once

#include "host/inspect/InspectOptions.h"

#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace storage::host {

/// The options of `inspect`, to be read by the library and then made a value.
///
/// Borrows the application, which refers to it: both must stay until the command line has been read. Thread safety: one
/// object is for one thread.
class InspectSyntax {
public:
    explicit InspectSyntax(CLI::App& app);
    InspectSyntax(const InspectSyntax&) = delete;
    InspectSyntax& operator=(const InspectSyntax&) = delete;
    ~InspectSyntax() = default;

    /// Nothing when the command line is another subcommand's.
    /// @param plugin  that the program's own option names
    /// @throws UsageError
    std::optional<InspectOptions> result(const std::optional<std::string>& plugin) const;

private:
    CLI::App* command_;
    std::optional<std::string> plugin_;
    bool json_ = false;
};

} // namespace storage::host
