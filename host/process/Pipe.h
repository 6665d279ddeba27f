#pragma once

#include "host/disk/FileDescriptor.h"

namespace storage::host {

/// A pipe with close-on-exec on both ends and a non-blocking read end. Both descriptors have high numbers, so
/// that code that closes descriptors by number does not hit them.
///
/// Owns both ends. Not thread-safe.
struct Pipe {
    /// @param name  replaces a path in error messages
    /// @throws std::system_error
    static Pipe make(const char* name);

    FileDescriptor readEnd;
    FileDescriptor writeEnd;
};

} // namespace storage::host
