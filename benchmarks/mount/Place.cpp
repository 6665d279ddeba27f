#include "benchmarks/mount/Place.h"

namespace storage::benchmark {

Place::Place(const PlaceKind& kind, TmpfsFolder& room) : room_(room), folder_(room.path() / "folder") {
    std::filesystem::create_directory(folder_);
    std::filesystem::create_directory(backing(room));
    if (!kind.mountCommand.empty()) {
        mount_.emplace(kind.mountCommand, folder_);
    }
}

Place::~Place() {
    mount_.reset();
    room_.clear();
}

std::optional<double> Place::serverSeconds() const {
    return mount_ ? std::optional(mount_->serverSeconds()) : std::nullopt;
}

} // namespace storage::benchmark
