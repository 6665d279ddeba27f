#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>

namespace storage::benchmark {

/// An open file of a store. Each store overrides the functions of its abilities. Incomplete transfers throw.
/// Externally synchronized.
class Stream {
public:
    Stream() = default;
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    virtual ~Stream() = default;

    virtual void write(const char* /*bytes*/, std::size_t /*count*/) {
        throw std::logic_error("cannot write");
    }
    virtual void read(char* /*buffer*/, std::size_t /*count*/) { throw std::logic_error("cannot read"); }
    virtual void readAt(std::uint64_t /*offset*/, char* /*buffer*/, std::size_t /*count*/) {
        throw std::logic_error("cannot read at an offset");
    }
};

} // namespace storage::benchmark
