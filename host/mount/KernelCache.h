#pragma once

// The version of libfuse's interface that this program uses.
#define FUSE_USE_VERSION 314

#include <fuse_lowlevel.h>

namespace storage::host {

// What the kernel is told about its copies of attributes. Thread-safe.

/// Makes the kernel ask for an inode's attributes before it uses them again.
/// @param number  the inode's number for the kernel
void invalidateAttributesOf(fuse_session* session, fuse_ino_t number);

} // namespace storage::host
