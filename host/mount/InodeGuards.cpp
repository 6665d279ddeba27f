#include "host/mount/InodeGuards.h"

namespace storage::host {

InodeGuards::Held::~Held() {
    OpenStream closed; // after the locks are released
    if (file_ != nullptr) {
        {
            const ScopedLock lock(slot_->mutex);
            --slot_->taken;
            if (slot_->file == file_ && !slot_->isClosing) {
                slot_->open = std::move(open_);
            } else {
                closed = std::move(open_);
            }
        }
        slot_->changed.notify_all();
    }
    if (inode_ != nullptr) {
        inode_->lock.unlock();
    }
}

OpenStream& InodeGuards::Held::streamOf(FileInode& file) {
    if (file.detached) {
        return file.lastStream;
    }
    if (file_ == nullptr) {
        OpenStream closed;
        const ScopedLock lock(slot_->mutex);
        while (slot_->isClosing) {
            slot_->changed.wait(slot_->mutex);
        }
        (slot_->file == &file ? open_ : closed) = std::move(slot_->open);
        slot_->file = &file;
        ++slot_->taken;
        file_ = &file;
    }
    return open_;
}

void InodeGuards::Held::closeStreamOf(const FileInode& file) {
    open_ = OpenStream();
    OpenStream closed;
    const ScopedLock lock(slot_->mutex);
    if (slot_->file == &file) {
        closed = std::move(slot_->open);
        slot_->file = nullptr;
    }
}

void InodeGuards::closeStreams() {
    for (Slot& slot : slots_) {
        {
            const ScopedLock lock(slot.mutex);
            slot.isClosing = true;
            while (slot.taken > 0) {
                slot.changed.wait(slot.mutex);
            }
            slot.open = OpenStream();
            slot.file = nullptr;
            slot.isClosing = false;
        }
        slot.changed.notify_all();
    }
}

} // namespace storage::host
