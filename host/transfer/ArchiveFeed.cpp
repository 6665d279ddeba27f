#include "host/transfer/ArchiveFeed.h"

#include "host/disk/DiskEntry.h"
#include "host/disk/DiskXattrs.h"
#include "host/storage/ByteStreamDevice.h"
#include "host/support/CommandError.h"
#include "host/support/Interruption.h"
#include "host/support/Utf.h"

#include <algorithm>
#include <archive.h>
#include <archive_entry.h>
#include <boost/range/adaptor/reversed.hpp>
#include <cerrno>
#include <ctime>
#include <new>
#include <unistd.h>
#include <utility>

namespace storage::host {

namespace {

std::string textOfArchiveError(::archive* archive) {
    const char* const text = ::archive_error_string(archive);
    return text == nullptr ? "unknown error" : text;
}

timespec currentTime() {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

} // namespace

void ArchiveFeed::Closer::operator()(::archive* archive) const {
    ::archive_read_free(archive);
}

ArchiveFeed::ArchiveFeed(FileDescriptor file, const EntrySelection& selection, Console& console)
    : file_(std::move(file)),
      selection_(selection),
      console_(console),
      keepsOwners_(::geteuid() == 0),
      top_(selection.ofTop({}, true)),
      block_(transferBufferSize),
      archive_(::archive_read_new()) {
    if (!archive_) {
        throw std::bad_alloc();
    }
    open();
}

/// Does not enable the filters that run external programs.
void ArchiveFeed::open() {
    const Utf8Locale::Use utf8(locale_);
    ::archive* const archive = archive_.get();
    for (const auto enable : {::archive_read_support_filter_gzip, ::archive_read_support_filter_bzip2,
                              ::archive_read_support_filter_xz, ::archive_read_support_filter_zstd,
                              ::archive_read_support_filter_lz4, ::archive_read_support_filter_lzma,
                              ::archive_read_support_filter_lzip, ::archive_read_support_filter_compress,
                              ::archive_read_support_format_tar, ::archive_read_support_format_zip,
                              ::archive_read_support_format_cpio}) {
        enable(archive);
    }
    ::archive_read_set_callback_data(archive, this);
    ::archive_read_set_read_callback(archive, readBlock);
    if (::lseek(file_.number(), 0, SEEK_CUR) >= 0) {
        ::archive_read_set_seek_callback(archive, seek);
    }
    if (::archive_read_open1(archive) != ARCHIVE_OK) {
        fail();
    }
    keepNormalizationForms();
}

/// libarchive changes names from UTF-8 to UTF-8 in normalization form C when it reads them, so that two names
/// can become one, but not when it writes them. It keeps one converter per archive for both directions. The
/// one that is requested here is for writing.
void ArchiveFeed::keepNormalizationForms() {
    const std::unique_ptr<::archive_entry, decltype(&::archive_entry_free)> entry(
        ::archive_entry_new2(archive_.get()), ::archive_entry_free);
    if (!entry) {
        throw std::bad_alloc();
    }
    ::archive_entry_copy_pathname(entry.get(), "name");
    ::archive_entry_pathname_utf8(entry.get());
}

ssize_t ArchiveFeed::readBlock(::archive*, void* self, const void** block) {
    auto& feed = *static_cast<ArchiveFeed*>(self);
    try {
        *block = feed.block_.data();
        return static_cast<ssize_t>(feed.file_.read(feed.block_));
    } catch (...) {
        feed.failure_ = std::current_exception();
        return ARCHIVE_FATAL;
    }
}

std::int64_t ArchiveFeed::seek(::archive*, void* self, std::int64_t offset, int origin) {
    const off_t position = ::lseek(static_cast<ArchiveFeed*>(self)->file_.number(), offset, origin);
    return position < 0 ? ARCHIVE_FATAL : position;
}

/// Ends the feed, and throws the error of the library or of a callback.
void ArchiveFeed::fail() {
    isEnded_ = true;
    if (failure_) {
        std::rethrow_exception(std::exchange(failure_, nullptr));
    }
    throw CommandError(file_.path(), "cannot be read as an archive: " + textOfArchiveError(archive_.get()));
}

const ImportFeed::Entry* ArchiveFeed::next() {
    if (!std::exchange(isBegun_, true)) {
        queueFolder({});
        readHeader(); // so that nothing is created for a file that is not an archive
    }
    while (queue_.empty()) {
        Interruption::check();
        if (isEnded_ || !readHeader()) {
            return nullptr;
        }
    }
    entry_ = std::move(queue_.front());
    queue_.pop_front();
    return &entry_;
}

/// Reads the next entry of the archive, and queues it unless it is left out.
/// @return false at the end
bool ArchiveFeed::readHeader() {
    const Utf8Locale::Use utf8(locale_);
    const int status = ::archive_read_next_header(archive_.get(), &header_);
    if (status == ARCHIVE_EOF) {
        isEnded_ = true;
        return false;
    }
    if (status != ARCHIVE_OK && status != ARCHIVE_WARN) {
        fail();
    }
    data_ = {};
    dataBegin_ = offset_ = 0;
    isDataEnd_ = false;
    const char* const pathname = ::archive_entry_pathname(header_);
    const std::string name = pathname == nullptr ? "" : pathname;
    const std::string place = file_.path() + ": " + name;
    console_.attempt(place, [&] {
        takeEntry(name);
        if (status == ARCHIVE_WARN) {
            throw CommandError(place, textOfArchiveError(archive_.get()));
        }
    });
    return true;
}

void ArchiveFeed::takeEntry(const std::string& name) {
    Entry entry;
    entry.place = file_.path() + ": " + name;
    entry.path = insidePath(name, entry.place, "its path");
    const char* const other = ::archive_entry_hardlink(header_);
    const mode_t type = ::archive_entry_filetype(header_);
    const EntryKind kind = type == 0 || other != nullptr ? EntryKind::File : entryKindOf(type);
    const StoragePath& path = entry.path;
    if (path.isRoot() && kind != EntryKind::Folder) {
        throw CommandError(entry.place, "has no name");
    }
    const auto verdict = selection_.of(path, kind == EntryKind::Folder, top_);
    if (verdict == EntrySelection::Verdict::Excluded ||
        std::any_of(skipped_.begin(), skipped_.end(),
                    [&](const StoragePath& folder) { return folder.contains(path); })) {
        return;
    }
    if (other != nullptr) {
        entry.other = insidePath(other, entry.place, "its link target");
    }
    entry.attributes = attributesOf(kind);
    entry.size = ::archive_entry_size_is_set(header_) != 0
                     ? static_cast<std::uint64_t>(::archive_entry_size(header_))
                     : 0;
    entry.isWanted = verdict == EntrySelection::Verdict::Included;
    const bool isLink =
        kind == EntryKind::SymbolicLink || (entry.other && links_.contains(entry.other->text()));
    if (isLink) {
        links_.insert(path.text());
    } else {
        links_.erase(path.text());
    }
    queueFolders(path);
    if (kind == EntryKind::Folder) {
        const auto [known, isNew] = folders_.insert_or_assign(path.text(), entry.attributes);
        entry.isRepeated = !isNew;
        innermost_ = path;
    }
    queue_.push_back(std::move(entry));
}

/// Queues the folders above an entry that are not also above the previous entry.
void ArchiveFeed::queueFolders(const StoragePath& path) {
    std::vector<StoragePath> above;
    for (StoragePath folder = path; !folder.isRoot();) {
        folder = folder.parent();
        above.push_back(folder);
    }
    for (const StoragePath& folder : boost::adaptors::reverse(above)) {
        if (!folder.contains(innermost_)) {
            queueFolder(folder);
        }
    }
    innermost_ = path.parent();
}

void ArchiveFeed::queueFolder(const StoragePath& path) {
    const auto [known, isNew] = folders_.try_emplace(path.text());
    Entry entry;
    entry.place = path.isRoot() ? file_.path() : file_.path() + ": " + path.printed().substr(1);
    entry.path = path;
    entry.attributes = known->second.value_or(DiskAttributes{});
    entry.attributes.kind = EntryKind::Folder;
    entry.hasAttributes = known->second.has_value();
    entry.isRepeated = !isNew;
    entry.isWanted = selection_.of(path, true, top_) == EntrySelection::Verdict::Included;
    queue_.push_back(std::move(entry));
    innermost_ = path;
}

/// Converts a path in the archive. It must not lead outside, not even through a symbolic link of the archive.
/// @param place  of the entry, for the message
/// @param what   kind of path, for the message
/// @throws CommandError for a path that leads outside
StoragePath ArchiveFeed::insidePath(std::string_view name, const std::string& place,
                                    const std::string& what) const {
    if (name.starts_with('/')) {
        throw CommandError(place, "refused, " + what + " is absolute");
    }
    StoragePath path;
    while (!name.empty()) {
        const std::string_view part = name.substr(0, name.find('/'));
        if (part == "..") {
            throw CommandError(place, "refused, " + what + " leads out of the archive");
        }
        if (!part.empty() && part != ".") {
            path = path.child(toUtf16(part));
        }
        name.remove_prefix(std::min(part.size() + 1, name.size()));
    }
    for (StoragePath above = path.parent(); !above.isRoot(); above = above.parent()) {
        if (links_.contains(above.text())) {
            throw CommandError(place, "refused, " + what + " is below a symbolic link of the archive, " +
                                          above.printed().substr(1));
        }
    }
    return path;
}

DiskAttributes ArchiveFeed::attributesOf(EntryKind kind) const {
    DiskAttributes attributes;
    attributes.kind = kind;
    attributes.mode = ::archive_entry_perm(header_) & permissionBits & ~(keepsOwners_ ? 0 : setIdBits);
    if (keepsOwners_) {
        attributes.owner = DiskOwner{static_cast<uid_t>(::archive_entry_uid(header_)),
                                     static_cast<gid_t>(::archive_entry_gid(header_))};
    }
    attributes.modified = ::archive_entry_mtime_is_set(header_) != 0
                              ? timespec{::archive_entry_mtime(header_), ::archive_entry_mtime_nsec(header_)}
                              : currentTime();
    ::archive_entry_xattr_reset(header_);
    const char* name = nullptr;
    const void* value = nullptr;
    std::size_t size = 0;
    while (::archive_entry_xattr_next(header_, &name, &value, &size) == ARCHIVE_OK) {
        if (name != nullptr && isCarriedXattr(name)) {
            attributes.xattrs.insert_or_assign(name, std::string(static_cast<const char*>(value), size));
        }
    }
    attributes.isSparse = kind == EntryKind::File && ::archive_entry_sparse_count(header_) > 0;
    if (const char* const target = ::archive_entry_symlink(header_);
        kind == EntryKind::SymbolicLink && target != nullptr) {
        attributes.linkTarget = target;
    }
    attributes.device = isDevice(kind) ? ::archive_entry_rdev(header_) : 0;
    return attributes;
}

void ArchiveFeed::skipBelow(const StoragePath& folder) {
    std::erase_if(queue_, [&](const Entry& entry) { return folder.contains(entry.path); });
    skipped_.push_back(folder);
    innermost_ = folder.parent();
}

std::uint64_t ArchiveFeed::skipHole() {
    ensureData();
    const std::uint64_t size = entry_.attributes.isSparse ? entry_.size : 0;
    const std::uint64_t end = isDataEnd_ ? std::max(size, offset_) : dataBegin_;
    return end - std::exchange(offset_, end);
}

std::size_t ArchiveFeed::read(std::span<char> buffer) {
    std::size_t filled = 0;
    while (filled < buffer.size()) {
        ensureData();
        if (isDataEnd_ || dataBegin_ != offset_) {
            break; // at the end, or where a hole begins
        }
        const std::size_t count = std::min(data_.size(), buffer.size() - filled);
        std::copy_n(data_.begin(), count, buffer.begin() + static_cast<std::ptrdiff_t>(filled));
        data_ = data_.subspan(count);
        dataBegin_ += count;
        offset_ += count;
        filled += count;
    }
    return filled;
}

/// Reads the next block of the entry if the last one is consumed.
void ArchiveFeed::ensureData() {
    while (data_.empty() && !isDataEnd_) {
        const void* data = nullptr;
        std::size_t size = 0;
        std::int64_t offset = 0;
        const int status = ::archive_read_data_block(archive_.get(), &data, &size, &offset);
        if (status == ARCHIVE_EOF) {
            isDataEnd_ = true;
        } else if (status == ARCHIVE_OK) {
            data_ = {static_cast<const char*>(data), size};
            dataBegin_ = static_cast<std::uint64_t>(offset);
        } else if (status == ARCHIVE_FATAL || failure_) {
            fail();
        } else { // only this entry is damaged
            isDataEnd_ = true;
            throw CommandError(entry_.place, textOfArchiveError(archive_.get()));
        }
    }
}

} // namespace storage::host
