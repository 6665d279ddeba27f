#pragma once

#include <exception>

namespace storage::host {

/// An operation on a mounted storage that fails with a number of errno(3). A value.
class Refused : public std::exception {
public:
    explicit Refused(int error) noexcept : error_(error) {}

    int error() const noexcept { return error_; }

    /// For a person who meets it outside the program that made the call.
    const char* what() const noexcept override;

private:
    int error_;
};

/// What a program is told about the exception that is being handled: storages speak in codes of their own,
/// programs in numbers of errno(3).
int errnoOfCurrentException() noexcept;

} // namespace storage::host
