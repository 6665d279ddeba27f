#include "host/inspect/OutputToErrors.h"

#include "host/support/SystemCall.h"

#include <cstdio>
#include <fcntl.h>
#include <iostream>
#include <unistd.h>

namespace storage::host {

OutputToErrors::OutputToErrors() : output_(checked(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3), "fcntl")) {
    checked(::dup2(STDERR_FILENO, STDOUT_FILENO), "dup2");
}

OutputToErrors::~OutputToErrors() {
    std::cout.flush();
    std::fflush(stdout);
    ::dup2(output_, STDOUT_FILENO);
    ::close(output_);
}

} // namespace storage::host
