#include "host/mount/InodeGuards.h"

namespace storage::host {

OpenStream& InodeGuards::Held::streamOf(FileInode& file) noexcept {
    if (file.detached) {
        return file.lastStream;
    }
    if (place_->file != &file) {
        place_->open = OpenStream();
        place_->file = &file;
    }
    return place_->open;
}

void InodeGuards::Held::closeStreamOf(const FileInode& file) noexcept {
    if (place_->file == &file) {
        place_->open = OpenStream();
        place_->file = nullptr;
    }
}

void InodeGuards::closeStreams() {
    for (Place& place : places_) {
        const std::lock_guard lock(place.mutex);
        place.open = OpenStream();
        place.file = nullptr;
    }
}

} // namespace storage::host
