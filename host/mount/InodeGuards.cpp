#include "host/mount/InodeGuards.h"

namespace storage::host {

OpenStream& InodeGuards::Held::streamOf(FileInode& file) noexcept {
    slot_->mutex.assertHeld();
    if (file.detached) {
        return file.lastStream;
    }
    if (slot_->file != &file) {
        slot_->open = OpenStream();
        slot_->file = &file;
    }
    return slot_->open;
}

void InodeGuards::Held::closeStreamOf(const FileInode& file) noexcept {
    slot_->mutex.assertHeld();
    if (slot_->file == &file) {
        slot_->open = OpenStream();
        slot_->file = nullptr;
    }
}

void InodeGuards::closeStreams() {
    for (Slot& slot : slots_) {
        const ScopedLock lock(slot.mutex);
        slot.open = OpenStream();
        slot.file = nullptr;
    }
}

} // namespace storage::host
