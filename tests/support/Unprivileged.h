#pragma once

#include <linux/capability.h>
#include <sys/prctl.h>
#include <unistd.h>

/// For ProgramRun's preparation: makes file permissions effective even if root runs the tests. The program
/// still owns root's files.
inline void dropFilePrivileges() {
    if (::geteuid() != 0) {
        return;
    }
    for (const int capability : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH}) {
        if (::prctl(PR_CAPBSET_DROP, capability, 0, 0, 0) != 0) {
            ::_exit(126);
        }
    }
}
