#pragma once

#include <streambuf>
#include <string>

namespace storage::host {

/// An output stream buffer that writes lines to the system log, as errors. For a program that has detached
/// from its terminal.
///
/// Not thread-safe.
class SystemLog : public std::streambuf {
protected:
    int_type overflow(int_type character) override;

private:
    std::string line_;
};

} // namespace storage::host
