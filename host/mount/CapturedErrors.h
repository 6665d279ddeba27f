#pragma once

#include <string>

namespace storage::host {

/// Takes what is written to the standard error stream for as long as the object lives, by the processes that are
/// started meanwhile too, so that it can become part of a message of this program's own.
///
/// Owns two descriptors. Thread safety: nobody else may write to the stream meanwhile.
class CapturedErrors {
public:
    /// @throws std::system_error
    CapturedErrors();
    ~CapturedErrors();
    CapturedErrors(const CapturedErrors&) = delete;
    CapturedErrors& operator=(const CapturedErrors&) = delete;

    /// The first line written so far, without the name of the program in front of it.
    std::string firstLine() const;

private:
    const int stream_; ///< the stream as it was
    const int taken_;
};

} // namespace storage::host
