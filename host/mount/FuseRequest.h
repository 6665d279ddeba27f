#pragma once

#include "host/mount/ChangeGate.h"
#include "host/mount/ErrnoError.h"
#include "host/mount/MountedStorage.h"
#include "host/mount/RequestContext.h"

#include <limits>

namespace storage::host {

/// Cache timeout in seconds. The tree changes only through the kernel, so cached entries and attributes stay
/// valid.
constexpr double forever = std::numeric_limits<int>::max();

// Helpers of the functions that process the kernel's requests.

inline RequestContext& contextOf(fuse_req_t request) {
    return *static_cast<RequestContext*>(fuse_req_userdata(request));
}

inline MountedStorage& storageOf(fuse_req_t request) {
    return contextOf(request).storage;
}

/// @throws ErrnoError EROFS while changes by programs are refused
inline ChangeGate::Passage requirePassage(fuse_req_t request) {
    return {contextOf(request).gate, ChangeGate::Origin::Program};
}

/// The kernel's number of an inode is its address, except for the root.
inline Inode& inodeOf(MountedStorage& storage, fuse_ino_t number) {
    return number == FUSE_ROOT_ID ? storage.root()
                                  : *reinterpret_cast<Inode*>(number); // NOLINT(performance-no-int-to-ptr)
}

inline Inode& inodeOf(fuse_req_t request, fuse_ino_t number) {
    return inodeOf(storageOf(request), number);
}

/// While changes are refused, the kernel must request the attributes of a file before each write, see
/// `getAttributes`. It must not take them from another reply. The kernel ignores attributes in a reply if
/// they were invalidated while it waited for that reply.
inline void keepAttributesInvalid(const RequestContext& context, fuse_ino_t number) {
    if (context.gate.isClosed()) {
        invalidateAttributesOf(context.session, number);
    }
}

/// Runs an operation that replies itself, and replies with the error if it throws.
template <typename Operation>
void answer(fuse_req_t request, const Operation& operation) noexcept {
    try {
        operation();
    } catch (...) {
        fuse_reply_err(request, errnoOfCurrentException());
    }
}

template <typename Operation>
void answerDone(fuse_req_t request, const Operation& operation) noexcept {
    answer(request, [&] {
        operation();
        fuse_reply_err(request, 0);
    });
}

} // namespace storage::host
