#include "host/transfer/ArchiveExportTarget.h"

#include "host/disk/DiskEntry.h"
#include "host/storage/ByteStreamDevice.h"
#include "host/support/CommandError.h"
#include "host/support/Counted.h"
#include "host/support/DefaultMode.h"
#include "host/support/Interruption.h"
#include "host/support/Umask.h"
#include "host/support/Utf.h"
#include "host/transfer/Zeros.h"

#include <algorithm>
#include <archive.h>
#include <archive_entry.h>
#include <cerrno>
#include <ctime>
#include <new>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace storage::host {

namespace {

using AddFilter = int (*)(::archive*);

AddFilter filterOf(ArchiveFormat::Compression compression) {
    switch (compression) {
    case ArchiveFormat::Compression::Gzip:
        return ::archive_write_add_filter_gzip;
    case ArchiveFormat::Compression::Bzip2:
        return ::archive_write_add_filter_bzip2;
    case ArchiveFormat::Compression::Xz:
        return ::archive_write_add_filter_xz;
    case ArchiveFormat::Compression::Zstd:
        return ::archive_write_add_filter_zstd;
    case ArchiveFormat::Compression::Lz4:
        return ::archive_write_add_filter_lz4;
    case ArchiveFormat::Compression::Lzma:
        return ::archive_write_add_filter_lzma;
    case ArchiveFormat::Compression::Lzip:
        return ::archive_write_add_filter_lzip;
    case ArchiveFormat::Compression::Compress:
        return ::archive_write_add_filter_compress;
    case ArchiveFormat::Compression::None:
        break;
    }
    return ::archive_write_add_filter_none;
}

AddFilter containerSetterOf(ArchiveFormat::Container container) {
    switch (container) {
    case ArchiveFormat::Container::Zip:
        return ::archive_write_set_format_zip;
    case ArchiveFormat::Container::Cpio:
        return ::archive_write_set_format_cpio_newc;
    case ArchiveFormat::Container::Tar:
        break;
    }
    return ::archive_write_set_format_pax;
}

bool isUtf8(const std::string& bytes) {
    const std::u16string units = toUtf16(bytes);
    bool isSecond = false; // of a surrogate pair; a lone surrogate encodes a byte
    return std::all_of(units.begin(), units.end(), [&](char16_t unit) {
        const bool isLow = unit >= 0xDC00 && unit <= 0xDFFF;
        const bool isWhole = isLow == isSecond;
        isSecond = unit >= 0xD800 && unit <= 0xDBFF;
        return isWhole;
    });
}

/// Permission bits with write bits that match the writable flag of the storage.
mode_t modeOf(const ExportSource::Entry& entry, mode_t defaultMode, ExportSource::Authority authority) {
    const mode_t mode = entry.attributes.mode.value_or(defaultMode);
    if (authority == ExportSource::Authority::Source || entry.attributes.kind == EntryKind::SymbolicLink) {
        return mode;
    }
    return entry.isWritable ? mode | S_IWUSR : mode & ~writeBits;
}

} // namespace

/// Writes no end marker: an unfinished archive must not look complete.
void ArchiveExportTarget::Freer::operator()(::archive* archive) const {
    ::archive_write_fail(archive); // leaks a buffer of 10 KiB in libarchive 3.6
    ::archive_write_free(archive);
}

void ArchiveExportTarget::EntryFreer::operator()(::archive_entry* entry) const {
    ::archive_entry_free(entry);
}

ArchiveExportTarget::ArchiveExportTarget(ExportSource& source, ProgressMeter& progress,
                                         const ArchiveFormat& format, std::string place, Write write)
    : source_(source),
      progress_(progress),
      container_(format.container),
      place_(std::move(place)),
      write_(std::move(write)),
      mask_(currentUmask()),
      archive_(::archive_write_new()),
      buffer_(transferBufferSize) {
    if (!archive_) {
        throw std::bad_alloc();
    }
    open(format);
}

ArchiveExportTarget::~ArchiveExportTarget() = default;

void ArchiveExportTarget::open(const ArchiveFormat& format) {
    const Utf8Locale::Use utf8(locale_);
    requireSuccess(containerSetterOf(format.container)(archive_.get()));
    requireSuccess(filterOf(format.compression)(archive_.get()));
    if (format.container == ArchiveFormat::Container::Tar) { // the xattr header that most programs read
        ::archive_write_set_format_option(archive_.get(), "pax", "xattrheader", "SCHILY");
    }
    ::archive_write_set_bytes_in_last_block(archive_.get(), 1); // no padding
    requireSuccess(::archive_write_open(archive_.get(), this, nullptr, writeBlock, nullptr));
}

ssize_t ArchiveExportTarget::writeBlock(::archive*, void* self, const void* block, std::size_t size) {
    auto& target = *static_cast<ArchiveExportTarget*>(self);
    try {
        target.write_({static_cast<const char*>(block), size});
        return static_cast<ssize_t>(size);
    } catch (...) {
        target.failure_ = std::current_exception();
        return ARCHIVE_FATAL;
    }
}

/// @throws CommandError with the library's error message, or the exception of a callback
void ArchiveExportTarget::requireSuccess(int status) {
    if (status == ARCHIVE_OK || status == ARCHIVE_WARN) {
        return;
    }
    isFailed_ = isFailed_ || status == ARCHIVE_FATAL;
    if (failure_) {
        isFailed_ = true;
        std::rethrow_exception(std::exchange(failure_, nullptr));
    }
    const char* const text = ::archive_error_string(archive_.get());
    throw CommandError(place_, text == nullptr ? "cannot be written" : text);
}

std::string ArchiveExportTarget::placeIn(const std::string& folder, const std::string& name) const {
    return folder + (folder == place_ ? ": " : "/") + name;
}

std::string ArchiveExportTarget::pathOf(const std::string& name) const {
    return path_.empty() ? name : path_ + '/' + name;
}

/// The root of the storage has no name, and gets no entry in the archive.
void ArchiveExportTarget::enterFolder(const StoragePath& source, const std::string& name) {
    const std::size_t above = path_.size();
    if (!name.empty()) {
        const Header header = headerOf(source_.entryAt(source, EntryKind::Folder), pathOf(name));
        writeHeader(header.get());
        path_ = pathOf(name);
    }
    folders_.push_back(above);
}

void ArchiveExportTarget::leaveFolder() {
    path_.resize(folders_.back());
    folders_.pop_back();
}

std::uint64_t ArchiveExportTarget::addFile(const StoragePath& source, const std::string& name) {
    const ExportSource::Entry entry = source_.entryAt(source, EntryKind::File);
    const Header header = headerOf(entry, pathOf(name));
    addGroup(header.get(), entry.attributes.linkGroup, pathOf(name));
    if (::archive_entry_hardlink(header.get()) != nullptr) {
        writeHeader(header.get());
        return 0;
    }
    const std::uint64_t size = source_.sizeOf(source);
    ::archive_entry_set_size(header.get(), static_cast<std::int64_t>(size));
    writeHeader(header.get());
    return writeContent(source, size);
}

bool ArchiveExportTarget::addSpecial(const StoragePath& source, EntryKind kind, const std::string& name) {
    if (container_ == ArchiveFormat::Container::Zip && kind != EntryKind::SymbolicLink) {
        return false;
    }
    const ExportSource::Entry entry = source_.entryAt(source, kind);
    const Header header = headerOf(entry, pathOf(name));
    if (kind == EntryKind::SymbolicLink) {
        ::archive_entry_copy_symlink(header.get(), entry.attributes.linkTarget.c_str());
    } else if (isDevice(kind)) {
        ::archive_entry_set_rdev(header.get(), entry.attributes.device);
    }
    writeHeader(header.get());
    return true;
}

ArchiveExportTarget::Header ArchiveExportTarget::headerOf(const ExportSource::Entry& entry,
                                                          const std::string& path) {
    if (container_ == ArchiveFormat::Container::Zip && !isUtf8(path)) {
        throw CommandError(place_ + ": " + path, "the name is not UTF-8, which zip files require");
    }
    Header header(::archive_entry_new2(archive_.get()));
    if (!header) {
        throw std::bad_alloc();
    }
    const DiskAttributes& known = entry.attributes;
    const DiskOwner owner = known.owner.value_or(DiskOwner{::geteuid(), ::getegid()});
    ::archive_entry_copy_pathname(header.get(), path.c_str());
    ::archive_entry_set_filetype(header.get(), fileTypeOf(known.kind));
    ::archive_entry_set_perm(header.get(),
                             modeOf(entry, defaultMode(known.kind, mask_), source_.authority()));
    ::archive_entry_set_uid(header.get(), owner.user);
    ::archive_entry_set_gid(header.get(), owner.group);
    ::archive_entry_set_size(header.get(), 0);
    timespec modified = known.modified.value_or(timespec{0, UTIME_OMIT});
    if (modified.tv_nsec == UTIME_OMIT) {
        ::clock_gettime(CLOCK_REALTIME, &modified);
    }
    ::archive_entry_set_mtime(header.get(), modified.tv_sec, modified.tv_nsec);
    addXattrs(header.get(), known.xattrs);
    return header;
}

void ArchiveExportTarget::addXattrs(::archive_entry* header, const Xattrs& xattrs) {
    if (container_ != ArchiveFormat::Container::Tar) {
        lostXattrs_ += xattrs.size();
        return;
    }
    for (const auto& [name, value] : xattrs) {
        ::archive_entry_xattr_add_entry(header, name.c_str(), value.data(), value.size());
    }
}

/// Marks hard links. In a tar file, all names but the first refer to the first one. In a cpio file, all names
/// have the same inode number. A zip file has no hard links.
void ArchiveExportTarget::addGroup(::archive_entry* header, std::uint64_t group, const std::string& path) {
    if (group == 0 || container_ == ArchiveFormat::Container::Zip) {
        return;
    }
    const auto [first, isNew] = linked_.try_emplace(group, path);
    if (!isNew) {
        ::archive_entry_copy_hardlink(header, first->second.c_str());
    }
    if (container_ == ArchiveFormat::Container::Cpio) {
        ::archive_entry_set_ino64(header, static_cast<std::int64_t>(group));
        // The number of names is unknown. Readers check only whether there are several.
        ::archive_entry_set_nlink(header, 2);
    }
}

void ArchiveExportTarget::writeHeader(::archive_entry* header) {
    const Utf8Locale::Use utf8(locale_);
    requireSuccess(::archive_write_header(archive_.get(), header));
}

std::uint64_t ArchiveExportTarget::writeContent(const StoragePath& source, std::uint64_t size) {
    const auto from = source_.open(source);
    std::uint64_t written = 0;
    for (;;) {
        if (const std::uint64_t hole = from->skipHole(); hole > 0) {
            writeZeros(hole, [this](std::span<const char> zeros) { writeData(zeros); });
            written += hole;
        }
        const std::size_t count = from->read(buffer_);
        if (count == 0) {
            break;
        }
        writeData(std::span(buffer_).first(count));
        written += count;
        progress_.countBytes(count);
        Interruption::check();
    }
    if (written != size) {
        throw CommandError(source.printed(), "file size changed during the export");
    }
    return written;
}

/// Drops data beyond the size in the header. The caller detects the difference.
void ArchiveExportTarget::writeData(std::span<const char> bytes) {
    const la_ssize_t written = ::archive_write_data(archive_.get(), bytes.data(), bytes.size());
    requireSuccess(written < 0 ? static_cast<int>(written) : ARCHIVE_OK);
}

void ArchiveExportTarget::finish() {
    const Utf8Locale::Use utf8(locale_);
    requireSuccess(::archive_write_close(archive_.get()));
}

std::string ArchiveExportTarget::losses() const {
    return lostXattrs_ == 0 ? ""
                            : "the archive format cannot store " + counted(lostXattrs_, "extended attribute");
}

} // namespace storage::host
