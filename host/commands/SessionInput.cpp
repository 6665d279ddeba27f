#include "host/commands/SessionInput.h"

#include "host/support/CommandError.h"
#include "host/support/SystemCall.h"

#include <fcntl.h>

namespace storage::host {

FileDescriptor openInput(const Session& session) {
    if (!session.input()) {
        throw CommandError("-", "the standard input provides the command lines of this session; "
                                "use 'qzstorage -c LINE' or a script");
    }
    return FileDescriptor::adopt(checked(::fcntl(*session.input(), F_DUPFD_CLOEXEC, 0), "fcntl"), "-");
}

} // namespace storage::host
