#include "host/mount/Event.h"

#include "host/support/SystemCall.h"

#include <sys/eventfd.h>
#include <unistd.h>

namespace storage::host {

Event::Event() : descriptor_(checked(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")) {}

Event::~Event() {
    ::close(descriptor_);
}

void Event::set() const noexcept {
    ::eventfd_write(descriptor_, 1);
}

void Event::reset() const noexcept {
    eventfd_t count = 0;
    ::eventfd_read(descriptor_, &count);
}

} // namespace storage::host
