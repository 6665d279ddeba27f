#pragma once

namespace storage::host {

/// Prepares the calling thread, and threads that it starts later, to serve a mount while the memory of its
/// control group is exhausted. Does what the user's rights allow, which is mostly nothing without root.
///
/// Allocations of such a thread never wait for write-back of the mount's dirty pages, which would deadlock,
/// because the thread itself processes the write-back. The OOM killer prefers other processes: killing a
/// writing program loses less data than killing the mount.
void protectFromMemoryPressure() noexcept;

/// Lets the calling thread wait for write-back again, so that its allocations can reclaim the memory of files
/// that it writes to the disk. It must no longer process requests of the mount.
void allowWaitingForWriteBack() noexcept;

} // namespace storage::host
