#pragma once

// The version of libfuse's interface that this program uses.
#define FUSE_USE_VERSION 314

#include <fuse_lowlevel.h>

namespace storage::host {

class ChangeGate;
class MountedStorage;
class UnmountRequests;

/// When the kernel sends what programs write.
enum class WriteMode {
    Back,    ///< late, in pieces as large as it can; it keeps times and sizes of files itself
    Through, ///< at once, while the program waits; late only for files that programs map into memory
};

/// What requests work on: the user data of a session. Borrows all of it. A value.
struct RequestContext {
    WriteMode writing;
    MountedStorage& storage;
    ChangeGate& gate;
    UnmountRequests& unmounting;
    fuse_session* session; ///< the session itself
};

/// The kernel's requests to a mounted storage, one function each.
const fuse_lowlevel_ops& fuseOperations();

/// Makes the kernel ask for an inode's attributes before it uses them again.
/// @param number  the inode's number for the kernel
void invalidateAttributesOf(fuse_session* session, fuse_ino_t number);

} // namespace storage::host
