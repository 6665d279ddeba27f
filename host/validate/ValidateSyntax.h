#pragma once

#include "host/validate/ValidateOptions.h"

#include <cstdint>
#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace storage::host {

/// The options of `validate`, to be read by the library and then made a value.
///
/// Borrows the application, which refers to it: both must stay until the command line has been read. Thread safety: one
/// object is for one thread.
class ValidateSyntax {
public:
    explicit ValidateSyntax(CLI::App& app);
    ValidateSyntax(const ValidateSyntax&) = delete;
    ValidateSyntax& operator=(const ValidateSyntax&) = delete;
    ~ValidateSyntax() = default;

    /// Nothing when the command line is another subcommand's.
    /// @param plugin  that the program's own option names
    /// @throws UsageError
    std::optional<ValidateOptions> result(const std::optional<std::string>& plugin) const;

private:
    Profile usualProfile(const ValidateOptions& options) const;

    CLI::App* command_;
    ValidateOptions options_;
    std::optional<std::string> plugin_;
    std::optional<std::string> profile_;
    std::optional<std::string> seed_;
    long timeLimit_ = options_.timeLimit.count();
    std::optional<long> runLimit_;
    bool list_ = false;
    bool markdown_ = false;
    bool json_ = false;
};

} // namespace storage::host
