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

    virtual void readAt(std::uint64_t /*offset*/, char* /*buffer*/, std::size_t /*count*/) {
        throw std::logic_error("cannot read");
    }

    /// Reads from the end of the previous read on.
    virtual void read(char* buffer, std::size_t count) {
        readAt(position_, buffer, count);
        position_ += count;
    }

private:
    std::uint64_t position_ = 0;
};

} // namespace storage::benchmark
