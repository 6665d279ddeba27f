#include "benchmarks/workload/FileStream.h"

#include "benchmarks/workload/SystemCall.h"

#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace storage::benchmark {

namespace {

constexpr mode_t fileMode = 0600;
constexpr int closed = -1;

} // namespace

FileStream::FileStream(const char* path, int flags)
    : descriptor_(checked(::open(path, flags | O_CLOEXEC, fileMode), "open")) {}

FileStream::~FileStream() {
    if (descriptor_ != closed) {
        ::close(descriptor_);
    }
}

void FileStream::write(const char* bytes, std::size_t count) {
    checkComplete(::write(descriptor_, bytes, count), count, "write");
}

void FileStream::read(char* buffer, std::size_t count) {
    checkComplete(::read(descriptor_, buffer, count), count, "read");
}

void FileStream::readAt(std::uint64_t offset, char* buffer, std::size_t count) {
    checkComplete(::pread(descriptor_, buffer, count, static_cast<off_t>(offset)), count, "pread");
}

void FileStream::writeAt(std::uint64_t offset, const char* bytes, std::size_t count) {
    checkComplete(::pwrite(descriptor_, bytes, count, static_cast<off_t>(offset)), count, "pwrite");
}

void FileStream::close() {
    checked(::close(std::exchange(descriptor_, closed)), "close");
}

} // namespace storage::benchmark
