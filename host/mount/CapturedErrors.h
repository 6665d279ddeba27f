#pragma once

#include <string>

namespace storage::host {

/// Captures the standard error stream of this process and its child processes during the object's lifetime.
/// The text can then be a part of a message of this program.
///
/// Owns two descriptors. Not thread-safe. Precondition: no other thread writes to the stream meanwhile.
class CapturedErrors {
public:
    /// @throws std::system_error
    CapturedErrors();
    ~CapturedErrors();
    CapturedErrors(const CapturedErrors&) = delete;
    CapturedErrors& operator=(const CapturedErrors&) = delete;

    /// The first captured line, without the program name in front.
    std::string firstLine() const;

private:
    const int stream_; ///< the original stream
    const int captured_;
};

} // namespace storage::host
