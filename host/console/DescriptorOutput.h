#pragma once

#include <array>
#include <streambuf>

namespace storage::host {

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
