#pragma once

// The version of libfuse's interface that this program uses.
#define FUSE_USE_VERSION 314

#include "host/mount/SparseMap.h"

#include <fuse_lowlevel.h>

namespace storage::host {

// Invalidates attributes and content that the kernel caches. Thread-safe.

/// Makes the kernel ask for an inode's attributes before it uses them again.
/// @param number  the inode's number for the kernel
void invalidateAttributesOf(fuse_session* session, fuse_ino_t number);

/// Makes the kernel hand over what it has not written back yet of pages of a file, and drop its copies of them. Blocks until
/// other threads have processed the writes.
void writeBack(fuse_session* session, fuse_ino_t number, PageRange pages);

} // namespace storage::host
