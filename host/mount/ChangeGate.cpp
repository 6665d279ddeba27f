#include "host/mount/ChangeGate.h"

#include "host/mount/ErrnoError.h"

#include <cerrno>

namespace storage::host {

ChangeGate::Passage::Passage(ChangeGate& gate, Origin origin) : lock_(gate.mutex_) {
    if (!gate.closed_) {
        return;
    }
    if (origin == Origin::Program) {
        throw ErrnoError(EROFS);
    }
    ++gate.lateChanges_;
}

void ChangeGate::close() {
    const ScopedLock lock(mutex_);
    closed_ = true;
}

void ChangeGate::open() {
    const ScopedLock lock(mutex_);
    closed_ = false;
}

} // namespace storage::host
