#pragma once

#include "host/mount/Refused.h"

/// The number of errno(3) that an operation ends with; 0 when it succeeds.
template <typename Operation>
int errnoOf(const Operation& operation) {
    try {
        operation();
    } catch (...) {
        return storage::host::errnoOfCurrentException();
    }
    return 0;
}
