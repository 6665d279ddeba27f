#pragma once

#include "host/mount/ErrnoError.h"

/// Returns the error number that an operation throws; 0 if it succeeds.
template <typename Operation>
int errnoOf(const Operation& operation) {
    try {
        operation();
    } catch (...) {
        return storage::host::errnoOfCurrentException();
    }
    return 0;
}
