#include "host/process/Pipe.h"

#include "host/support/SystemCall.h"

#include <array>
#include <fcntl.h>
#include <unistd.h>

namespace storage::host {

Pipe Pipe::make(const char* name) {
    std::array<int, 2> ends{};
    checked(::pipe2(ends.data(), O_CLOEXEC), "pipe2");
    Pipe pipe{FileDescriptor::adopt(ends[0], name), FileDescriptor::adopt(ends[1], name)};
    checked(::fcntl(pipe.readEnd.number(), F_SETFL, O_NONBLOCK), "fcntl");
    return pipe;
}

} // namespace storage::host
