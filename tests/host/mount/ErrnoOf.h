#pragma once

#include "host/mount/ErrnoError.h"

/// The error number of an operation that throws; 0 when it succeeds.
template <typename Operation>
int errnoOf(const Operation& operation) {
    try {
        operation();
    } catch (...) {
        return storage::host::errnoOfCurrentException();
    }
    return 0;
}
