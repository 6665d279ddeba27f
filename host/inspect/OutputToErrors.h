#pragma once

namespace storage::host {

/// Lets what others write to the standard output go to the standard error stream for as long as the object lives, so that
/// a plug-in's words do not mix with this program's.
///
/// Owns a descriptor. Thread safety: nobody else may write to the output meanwhile.
class OutputToErrors {
public:
    /// @throws std::system_error
    OutputToErrors();
    ~OutputToErrors();
    OutputToErrors(const OutputToErrors&) = delete;
    OutputToErrors& operator=(const OutputToErrors&) = delete;

private:
    const int output_; ///< as it was
};

} // namespace storage::host
