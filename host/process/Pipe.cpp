#include "host/process/Pipe.h"

#include "host/support/SystemCall.h"

#include <array>
#include <fcntl.h>
#include <unistd.h>

namespace storage::host {

namespace {

/// Above the descriptor numbers that a plug-in closes in a loop to close all inherited descriptors.
constexpr int lowestNumber = 512;

FileDescriptor atHighNumber(const FileDescriptor& descriptor) {
    const int number = checked(::fcntl(descriptor.number(), F_DUPFD_CLOEXEC, lowestNumber), "fcntl");
    return FileDescriptor::adopt(number, descriptor.path());
}

} // namespace

Pipe Pipe::make(const char* name) {
    std::array<int, 2> ends{};
    checked(::pipe2(ends.data(), O_CLOEXEC), "pipe2");
    Pipe pipe{atHighNumber(FileDescriptor::adopt(ends[0], name)),
              atHighNumber(FileDescriptor::adopt(ends[1], name))};
    checked(::fcntl(pipe.readEnd.number(), F_SETFL, O_NONBLOCK), "fcntl");
    return pipe;
}

} // namespace storage::host
