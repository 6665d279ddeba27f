#pragma once

#include <string>

namespace storage::host {

/// Claims a folder on disk, which need not exist yet, as this program's export target. The claim ends with
/// the object or the process, even if the process is killed.
///
/// The claim is an abstract socket address, which only one program can bind. The address is derived from the
/// parent folder and the name. The claim leaves nothing on disk, and is invisible in other network
/// namespaces. Not thread-safe.
class TargetClaim {
public:
    /// @param target  path of a folder; its parent must exist
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
