#include "host/support/DiskAttributes.h"

namespace storage::host {

const char* describe(EntryKind kind) {
    switch (kind) {
    case EntryKind::File:
        return "a file";
    case EntryKind::Folder:
        return "a folder";
    case EntryKind::SymbolicLink:
        return "a symbolic link";
    case EntryKind::Socket:
        return "a socket";
    case EntryKind::Fifo:
        return "a fifo";
    case EntryKind::CharacterDevice:
    case EntryKind::BlockDevice:
        break;
    }
    return "a device";
}

} // namespace storage::host
