#pragma once

// The version of libfuse's interface that this program uses.
#define FUSE_USE_VERSION 314

#include "host/mount/SparseMap.h"

#include <fuse_lowlevel.h>

namespace storage::host {

// Invalidates attributes and content that the kernel caches. Thread-safe.

/// Makes the kernel request an inode's attributes before it uses them again.
/// @param number  the inode's number in the kernel
void invalidateAttributesOf(fuse_session* session, fuse_ino_t number);

/// Makes the kernel write back its dirty pages of a range of a file, and drop all cached pages of the range.
/// Blocks until other threads have processed the writes.
void writeBack(fuse_session* session, fuse_ino_t number, PageRange pages);

} // namespace storage::host
