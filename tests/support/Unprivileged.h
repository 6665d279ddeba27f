#pragma once

#include <linux/capability.h>
#include <sys/prctl.h>
#include <unistd.h>

/// For the preparation of a ProgramRun: makes permissions of files count for the program also when the tests are run
/// by root. Root's files still belong to it.
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
