#pragma once

#include <exception>

namespace storage::host {

/// The failure of a mount operation, as an error number of errno(3). A value.
class ErrnoError : public std::exception {
public:
    explicit ErrnoError(int number) noexcept : number_(number) {}

    int number() const noexcept { return number_; }

    /// The text of strerror(3), in English.
    const char* what() const noexcept override;

private:
    int number_;
};

/// The error number of the current exception: providers report an `ErrorCode`, programs expect errno(3).
int errnoOfCurrentException() noexcept;

} // namespace storage::host
