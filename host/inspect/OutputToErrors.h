#pragma once

namespace storage::host {

/// Redirects the standard output to the standard error stream for the lifetime of the object, so that output
/// of a plug-in does not mix with results.
///
/// Owns a descriptor. Externally synchronized: no other thread may write to the standard output meanwhile.
class OutputToErrors {
public:
    /// @throws std::system_error
    OutputToErrors();
    ~OutputToErrors();
    OutputToErrors(const OutputToErrors&) = delete;
    OutputToErrors& operator=(const OutputToErrors&) = delete;

private:
    const int output_; ///< the original standard output
};

} // namespace storage::host
