#pragma once

#include "benchmarks/workload/Stream.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <sys/types.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace storage::benchmark {

/// Returns the result of a system call.
/// @throws std::system_error when it is negative
template <typename Result>
Result checked(Result result, const char* what) {
    if (result < 0) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    return result;
}

/// @throws std::system_error, or std::runtime_error when the transfer is incomplete
inline void checkComplete(ssize_t transferred, std::size_t wanted, const char* what) {
    if (checked(transferred, what) != static_cast<ssize_t>(wanted)) {
        throw std::runtime_error(std::string(what) + ": incomplete transfer");
    }
}

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
