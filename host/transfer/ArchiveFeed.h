#pragma once

#include "host/console/Console.h"
#include "host/disk/FileDescriptor.h"
#include "host/session/EntrySelection.h"
#include "host/transfer/ImportFeed.h"
#include "host/transfer/Utf8Locale.h"

#include <deque>
#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

struct archive;
struct archive_entry;

namespace storage::host {

/// Reads the entries of an archive: tar, zip or cpio, compressed or not. The format is detected from the
/// content.
///
/// The top is the folder that the archive is unpacked into. Parent folders that the archive does not list are
/// added without attributes. Entries with absolute paths, with "..", or below a symbolic link of the archive
/// are rejected, so that nothing is created outside the top. Owners, set-user-ID and set-group-ID bits are
/// used only if the process runs as root.
///
/// Owns the archive. Borrows selection and console. Not thread-safe.
class ArchiveFeed final : public ImportFeed {
public:
    /// @param file  read from its current position; need not be seekable
    /// @throws CommandError when it is not an archive
    ArchiveFeed(FileDescriptor file, const EntrySelection& selection, Console& console);

    const Entry* next() override;
    void skipBelow(const StoragePath& folder) override;
    std::uint64_t skipHole() override;
    std::size_t read(std::span<char> buffer) override;

private:
    struct Closer {
        void operator()(::archive* archive) const;
    };

    static ssize_t readBlock(::archive*, void* self, const void** block);
    static std::int64_t seek(::archive*, void* self, std::int64_t offset, int origin);

    void open();
    void keepNormalizationForms();
    bool readHeader();
    void takeEntry(const std::string& name);
    void queueFolders(const StoragePath& path);
    void queueFolder(const StoragePath& path);
    StoragePath insidePath(std::string_view name, const std::string& place, const std::string& what) const;
    DiskAttributes attributesOf(EntryKind kind) const;
    void ensureData();
    void fail();

    const FileDescriptor file_;
    const EntrySelection& selection_;
    Console& console_;
    const bool keepsOwners_;
    const EntrySelection::Verdict top_;
    const Utf8Locale locale_;
    std::vector<char> block_;
    std::exception_ptr failure_; ///< thrown by a callback of the library
    std::unique_ptr<::archive, Closer> archive_;
    ::archive_entry* header_ = nullptr; ///< of the last entry that was read; owned by the library
    bool isBegun_ = false;
    bool isEnded_ = false;
    std::deque<Entry> queue_; ///< the last entry that was read, and the folders above it
    Entry entry_;
    StoragePath innermost_; ///< the last folder in the order of the feed
    std::map<std::u16string, std::optional<DiskAttributes>>
        folders_;                    ///< by path; nothing for folders that the archive does not list
    std::set<std::u16string> links_; ///< paths of symbolic links
    std::vector<StoragePath> skipped_;
    std::span<const char> data_;  ///< of the current entry, not yet consumed
    std::uint64_t dataBegin_ = 0; ///< offset of `data_` in the entry
    std::uint64_t offset_ = 0;    ///< read position in the entry
    bool isDataEnd_ = true;
};

} // namespace storage::host
