#pragma once

#include "host/validate/ValidateOptions.h"

#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace storage::host {

/// Parses the options of `validate`.
///
/// Borrows the application, which refers to this object: both must exist until the command line is parsed.
/// Not thread-safe.
class ValidateSyntax {
public:
    explicit ValidateSyntax(CLI::App& app);
    ValidateSyntax(const ValidateSyntax&) = delete;
    ValidateSyntax& operator=(const ValidateSyntax&) = delete;
    ~ValidateSyntax() = default;

    /// Returns the parsed options, or nothing if the command line has another subcommand.
    /// @param plugin  plug-in given by the global option of the program
    /// @throws UsageError
    std::optional<ValidateOptions> result(const std::optional<std::string>& plugin) const;

private:
    CLI::App* command_;
    ValidateOptions options_;
    std::optional<std::string> profile_;
    std::optional<std::string> seed_;
};

} // namespace storage::host
