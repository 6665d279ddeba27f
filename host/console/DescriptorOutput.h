#pragma once

#include <array>
#include <streambuf>
#include <system_error>

namespace storage::host {

/// A write to the standard output failed. It ends the session, because later results would be lost.
class OutputError : public std::system_error {
public:
    /// @param error  errno of the write
    explicit OutputError(int error) : std::system_error(error, std::generic_category()) {}
};

/// Buffers an output stream on a file descriptor, which it borrows. Unlike the buffers of the standard
/// library, it reports why a write failed: it throws OutputError, which passes through a stream if
/// exceptions() has badbit. The destructor does not flush: unflushed output is lost.
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
