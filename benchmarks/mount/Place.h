#pragma once

#include "benchmarks/mount/MountedFolder.h"
#include "benchmarks/mount/PlaceKind.h"
#include "benchmarks/system/TmpfsFolder.h"

#include <filesystem>
#include <optional>

namespace storage::benchmark {

/// An empty folder on a file system of some kind, for one repetition of a job. Owns the content of its tmpfs
/// folder.
class Place {
public:
    /// @throws std::runtime_error, Interrupted
    Place(const PlaceKind& kind, TmpfsFolder& room);
    ~Place();
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

    /// The folder that a pass-through file system in `room` exports.
    static std::filesystem::path backing(const TmpfsFolder& room) { return room.path() / "backing"; }

    const std::filesystem::path& folder() const { return folder_; }

    /// Processor time of its server, if it has one.
    std::optional<double> serverSeconds() const;

private:
    TmpfsFolder& room_;
    std::filesystem::path folder_;
    std::optional<MountedFolder> mount_;
};

} // namespace storage::benchmark
