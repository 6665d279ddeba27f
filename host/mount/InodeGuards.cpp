#include "host/mount/InodeGuards.h"

namespace storage::host {

InodeGuards::Held::~Held() {
    if (file_ != nullptr && !keepStream()) {
        open_ = OpenStream(); // before `countOut`, because `closeStreams` waits only for counted streams
        slot_->countOut();
    }
    if (inode_ != nullptr) {
        inode_->lock.unlock();
    }
}

/// Puts the stream back into its slot, unless the slot belongs to another file by now or is being closed.
bool InodeGuards::Held::keepStream() {
    {
        const ScopedLock lock(slot_->mutex);
        if (slot_->file != file_ || slot_->isClosing) {
            return false;
        }
        slot_->open = std::move(open_);
        --slot_->taken;
    }
    slot_->changed.notify_all();
    return true;
}

void InodeGuards::Slot::countOut() {
    {
        const ScopedLock lock(mutex);
        --taken;
    }
    changed.notify_all();
}

OpenStream& InodeGuards::Held::streamOf(FileInode& file) {
    if (file.detached) { // `open_` is empty and stays so: there was no memory for `lastStream`
        return file.rare && file.rare->lastStream ? *file.rare->lastStream : open_;
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
    OpenStream kept;
    {
        const ScopedLock lock(slot_->mutex);
        if (slot_->file != &file) {
            return;
        }
        kept = std::move(slot_->open);
        slot_->file = nullptr;
        ++slot_->taken;
    }
    kept = OpenStream();
    slot_->countOut();
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
