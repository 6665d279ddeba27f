#pragma once

#include <array>
#include <streambuf>
#include <system_error>

namespace storage::host {

/// A write to the standard output failed. It ends the session, as nobody would see the rest.
class OutputError : public std::system_error {
public:
    /// @param error  the errno of the write that failed
    explicit OutputError(int error) : std::system_error(error, std::generic_category()) {}
};

/// The buffer of an output stream on a file descriptor, which it borrows. Unlike the standard library's own
/// it says why a write failed: by OutputError, which passes through a stream whose exceptions() has badbit.
/// What is still held back when it is destroyed is lost, so flush first.
class DescriptorOutput final : public std::streambuf {
public:
    explicit DescriptorOutput(int descriptor);

protected:
    int_type overflow(int_type character) override;
    int sync() override;

private:
    void writeOut();

    int descriptor_;
    std::array<char, 65536> buffer_{};
};

} // namespace storage::host
