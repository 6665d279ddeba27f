#pragma once

#include <streambuf>
#include <string>

namespace storage::host {

/// An output whose lines go to the system's log, as errors: for a program that has no terminal any more.
///
/// Thread safety: one object is for one thread.
class SystemLog : public std::streambuf {
protected:
    int_type overflow(int_type character) override;

private:
    std::string line_;
};

} // namespace storage::host
