#pragma once

#include "host/mount/KernelCache.h"

namespace storage::host {

class ChangeGate;
class HoleSeeker;
class MountedStorage;
class UnmountRequests;

/// When the kernel sends the writes of programs.
enum class WriteMode {
    Back,    ///< later and in large pieces; the kernel maintains times and sizes of files itself
    Through, ///< at once, while the program waits; later only for files that programs map into memory
};

/// The context of all requests: the user data of a session. Borrows all of it. A value.
struct RequestContext {
    WriteMode writing;
    MountedStorage& storage;
    ChangeGate& gate;
    UnmountRequests& unmounting;
    HoleSeeker& seeker;
    fuse_session* session; ///< the session itself
};

} // namespace storage::host
