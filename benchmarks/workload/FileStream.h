#pragma once

#include "benchmarks/workload/Stream.h"

#include <cstddef>
#include <cstdint>

namespace storage::benchmark {

/// An open file of the operating system. Owns its descriptor.
class FileStream final : public Stream {
public:
    /// @throws std::system_error, also in the other functions
    FileStream(const char* path, int flags);
    ~FileStream() override;

    void write(const char* bytes, std::size_t count) override;
    void read(char* buffer, std::size_t count) override;
    void readAt(std::uint64_t offset, char* buffer, std::size_t count) override;
    void writeAt(std::uint64_t offset, const char* bytes, std::size_t count);

    /// Closes the file and reports delayed write errors.
    void close();

    int descriptor() const { return descriptor_; }

private:
    int descriptor_;
};

} // namespace storage::benchmark
