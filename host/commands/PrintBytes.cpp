#include "host/commands/PrintBytes.h"

#include "host/support/Interruption.h"

#include <algorithm>
#include <vector>

namespace storage::host {

void printBytes(Session& session, ByteStreamDevice file, unsigned long long most) {
    std::vector<char> buffer(transferBufferSize);
    while (most > 0) {
        Interruption::check();
        const auto wanted = static_cast<std::streamsize>(std::min<unsigned long long>(most, buffer.size()));
        const std::streamsize count = file.read(buffer.data(), wanted);
        if (count < 0) {
            return;
        }
        session.console().out().write(buffer.data(), count);
        most -= static_cast<unsigned long long>(count);
    }
}

} // namespace storage::host
