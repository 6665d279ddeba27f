#include "host/mount/CapturedErrors.h"

#include "host/support/SystemCall.h"

#include <array>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace storage::host {

CapturedErrors::CapturedErrors()
    : stream_(checked(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0), "fcntl")),
      captured_(checked(::memfd_create("errors", MFD_CLOEXEC), "memfd_create")) {
    checked(::dup2(captured_, STDERR_FILENO), "dup2");
}

CapturedErrors::~CapturedErrors() {
    ::dup2(stream_, STDERR_FILENO);
    ::close(stream_);
    ::close(captured_);
}

std::string CapturedErrors::firstLine() const {
    std::array<char, 1000> text{};
    const ssize_t count = ::pread(captured_, text.data(), text.size(), 0);
    const std::string all(text.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    const std::string line = all.substr(0, all.find('\n'));
    const std::size_t program = line.find(": ");
    return program == std::string::npos ? line : line.substr(program + 2);
}

} // namespace storage::host
