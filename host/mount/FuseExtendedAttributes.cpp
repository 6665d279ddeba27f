#include "host/mount/FuseExtendedAttributes.h"

#include "host/mount/FuseRequest.h"

#include <cerrno>
#include <string>
#include <string_view>

namespace storage::host {

namespace {

/// @param room  bytes that the caller can take; 0 requests only the size
void replyWithin(fuse_req_t request, std::string_view bytes, std::size_t room) {
    if (room == 0) {
        fuse_reply_xattr(request, bytes.size());
    } else if (bytes.size() > room) {
        throw ErrnoError(ERANGE);
    } else {
        fuse_reply_buf(request, bytes.data(), bytes.size());
    }
}

void setExtended(fuse_req_t request, fuse_ino_t number, const char* name, const char* value, std::size_t size,
                 int flags) {
    answerDone(request, [&] {
        const auto passage = requirePassage(request);
        storageOf(request).setExtended(inodeOf(request, number), name, {value, size}, flags);
    });
}

void getExtended(fuse_req_t request, fuse_ino_t number, const char* name, std::size_t room) {
    answer(request, [&] {
        replyWithin(request, storageOf(request).getExtended(inodeOf(request, number), name), room);
    });
}

/// Hides the names of "trusted." from all users except root.
void listExtended(fuse_req_t request, fuse_ino_t number, std::size_t room) {
    using Names = ExtendedAttributeSet::Names;
    answer(request, [&] {
        const Names names = fuse_req_ctx(request)->uid == 0 ? Names::All : Names::OfOrdinaryUsers;
        replyWithin(request, storageOf(request).listExtended(inodeOf(request, number), names), room);
    });
}

void removeExtended(fuse_req_t request, fuse_ino_t number, const char* name) {
    answerDone(request, [&] {
        const auto passage = requirePassage(request);
        storageOf(request).removeExtended(inodeOf(request, number), name);
    });
}

} // namespace

void addExtendedAttributes(fuse_lowlevel_ops& table) {
    table.setxattr = setExtended;
    table.getxattr = getExtended;
    table.listxattr = listExtended;
    table.removexattr = removeExtended;
}

} // namespace storage::host
