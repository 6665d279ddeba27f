#pragma once

namespace storage::host {

/// Prepares the calling thread, and threads that it starts later, to serve a mount while the memory of its control group is
/// used up. Does what the user's rights allow, which for other users than root is mostly nothing.
///
/// An allocation of such a thread never waits for dirty pages of the mount, which it would have to take itself. Should the
/// kernel have to kill a process, it prefers a program that writes, which loses less than the mount does.
void protectFromMemoryPressure() noexcept;

} // namespace storage::host
