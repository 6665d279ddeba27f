#pragma once

#include "benchmarks/workload/Stream.h"
#include "benchmarks/workload/SystemCall.h"

#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace storage::benchmark {

/// An open file of the operating system. Owns its descriptor.
class FileStream final : public Stream {
public:
    /// @throws std::system_error, also in the other functions
    FileStream(const char* path, int flags)
        : descriptor_(checked(::open(path, flags | O_CLOEXEC, 0600), "open")) {}

    ~FileStream() override {
        if (descriptor_ != closed) {
            ::close(descriptor_);
        }
    }

    void write(const char* bytes, std::size_t count) override {
        checkComplete(::write(descriptor_, bytes, count), count, "write");
    }

    void read(char* buffer, std::size_t count) override {
        checkComplete(::read(descriptor_, buffer, count), count, "read");
    }

    void readAt(std::uint64_t offset, char* buffer, std::size_t count) override {
        checkComplete(::pread(descriptor_, buffer, count, static_cast<off_t>(offset)), count, "pread");
    }

    void writeAt(std::uint64_t offset, const char* bytes, std::size_t count) {
        checkComplete(::pwrite(descriptor_, bytes, count, static_cast<off_t>(offset)), count, "pwrite");
    }

    /// Closes the file and reports delayed write errors.
    void close() { checked(::close(std::exchange(descriptor_, closed)), "close"); }

    int descriptor() const { return descriptor_; }

private:
    static constexpr int closed = -1;

    int descriptor_;
};

} // namespace storage::benchmark
