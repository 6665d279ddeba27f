#pragma once

#include <string>

namespace storage::host {

/// Keeps a folder of the disk, that need not exist yet, for this program to export into; until the object is destroyed or the
/// program ends, however it does.
///
/// The claim is a name in the kernel that only one program can have, made of the folder above and the name in it. It leaves
/// nothing on the disk, and programs in other network namespaces do not see it. Thread safety: one object is for one thread.
class TargetClaim {
public:
    /// @param target  path of a folder; the folder above it must exist
    /// @throws CommandError when another program has claimed it
    explicit TargetClaim(const std::string& target);
    ~TargetClaim();
    TargetClaim(const TargetClaim&) = delete;
    TargetClaim& operator=(const TargetClaim&) = delete;

    /// @throws CommandError when another program has claimed the target
    static void refuseClaimed(const std::string& target);

private:
    const int socket_;
};

} // namespace storage::host
