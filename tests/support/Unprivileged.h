#pragma once

#include <linux/capability.h>
#include <sys/prctl.h>
#include <unistd.h>

/// A preparation for ProgramRun: drops the capabilities that let root ignore file permissions. The program
/// keeps root's user ID, so it still has the owner's permissions on root's files.
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
