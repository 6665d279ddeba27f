#pragma once

#include "benchmarks/mount/MountedFolder.h"
#include "benchmarks/mount/PlaceKind.h"
#include "benchmarks/system/TmpfsFolder.h"

#include <filesystem>
#include <optional>

namespace storage::benchmark {

/// An empty folder of some kind, for one repetition of a job. Owns all there is in its tmpfs folder.
class Place {
public:
    /// @throws std::runtime_error, Interrupted
    Place(const PlaceKind& kind, TmpfsFolder& room);
    ~Place();
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

    /// Where the folders that a pass-through file system shows are, for a place in this room.
    static std::filesystem::path backing(const TmpfsFolder& room) { return room.path() / "backing"; }

    const std::filesystem::path& folder() const { return folder_; }

    /// What its server has computed, where it has one.
    std::optional<double> serverSeconds() const;

private:
    TmpfsFolder& room_;
    std::filesystem::path folder_;
    std::optional<MountedFolder> mount_;
};

} // namespace storage::benchmark
