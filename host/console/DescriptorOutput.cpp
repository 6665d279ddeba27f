#include "host/console/DescriptorOutput.h"

#include "host/support/Interruption.h"

#include <cerrno>
#include <unistd.h>

namespace storage::host {

DescriptorOutput::DescriptorOutput(int descriptor) : descriptor_(descriptor) {
    setp(buffer_.data(), buffer_.data() + buffer_.size());
}

DescriptorOutput::int_type DescriptorOutput::overflow(int_type character) {
    writeOut();
    if (!traits_type::eq_int_type(character, traits_type::eof())) {
        sputc(traits_type::to_char_type(character));
    }
    return traits_type::not_eof(character);
}

int DescriptorOutput::sync() {
    writeOut();
    return 0;
}

void DescriptorOutput::writeOut() {
    const char* next = pbase();
    const char* const end = pptr();
    setp(buffer_.data(), buffer_.data() + buffer_.size()); // a failed write is not retried
    while (next != end) {
        const ssize_t written = ::write(descriptor_, next, static_cast<std::size_t>(end - next));
        if (written < 0 && errno != EINTR) {
            throw OutputError(errno);
        }
        if (written < 0) {
            Interruption::check(); // a write that blocks on a full pipe can be interrupted
        }
        next += written > 0 ? written : 0;
    }
}

} // namespace storage::host
