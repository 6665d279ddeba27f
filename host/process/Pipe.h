#pragma once

#include "host/disk/FileDescriptor.h"

namespace storage::host {

/// A pipe of which both ends are closed on exec and reading never waits. Both have high numbers, out of the way of code that
/// closes descriptors by their numbers.
///
/// Owns both ends. Thread safety: one object is for one thread.
struct Pipe {
    /// @param name  stands for a path in failures
    /// @throws std::system_error
    static Pipe make(const char* name);

    FileDescriptor readEnd;
    FileDescriptor writeEnd;
};

} // namespace storage::host
