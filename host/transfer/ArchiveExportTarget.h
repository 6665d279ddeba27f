#pragma once

#include "host/console/ProgressMeter.h"
#include "host/transfer/ArchiveFormat.h"
#include "host/transfer/ExportSource.h"
#include "host/transfer/ExportTarget.h"
#include "host/transfer/Utf8Locale.h"

#include <cstddef>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <sys/types.h>
#include <vector>

struct archive;
struct archive_entry;

namespace storage::host {

/// Writes an archive, for any number of exports.
///
/// Counts the extended attributes that the format does not support. `addSpecial` rejects kinds of entries
/// that it does not support. Without a call of `finish`, the archive has no end marker.
///
/// Owns the archive. Borrows the source and the progress meter. Not thread-safe.
class ArchiveExportTarget final : public ExportTarget {
public:
    using Write = std::function<void(std::span<const char> bytes)>;

    /// @param place  name of the archive in messages
    /// @param write  receives the bytes of the archive
    ArchiveExportTarget(ExportSource& source, ProgressMeter& progress, const ArchiveFormat& format,
                        std::string place, Write write);
    ~ArchiveExportTarget() override;
    ArchiveExportTarget(const ArchiveExportTarget&) = delete;
    ArchiveExportTarget& operator=(const ArchiveExportTarget&) = delete;

    std::optional<Existing> find(const std::string&) override { return std::nullopt; }
    std::string placeIn(const std::string& folder, const std::string& name) const override;
    void enterFolder(const StoragePath& source, const std::string& name) override;
    void leaveFolder() override;
    std::uint64_t addFile(const StoragePath& source, const std::string& name) override;
    bool addSpecial(const StoragePath& source, EntryKind kind, const std::string& name) override;
    bool isFailed() const noexcept override { return isFailed_; }

    /// Completes the archive.
    void finish();

    /// A message about attributes that the archive does not contain; empty if there are none.
    std::string losses() const;

private:
    struct Freer {
        void operator()(::archive* archive) const;
    };
    struct EntryFreer {
        void operator()(::archive_entry* entry) const;
    };
    using Header = std::unique_ptr<::archive_entry, EntryFreer>;

    static ssize_t writeBlock(::archive*, void* self, const void* block, std::size_t size);

    void open(const ArchiveFormat& format);
    Header headerOf(const ExportSource::Entry& entry, const std::string& path);
    void addXattrs(::archive_entry* header, const Xattrs& xattrs);
    void addGroup(::archive_entry* header, std::uint64_t group, const std::string& path);
    void writeHeader(::archive_entry* header);
    std::uint64_t writeContent(const StoragePath& source, std::uint64_t size);
    void writeData(std::span<const char> bytes);
    void requireSuccess(int status);
    std::string pathOf(const std::string& name) const;

    ExportSource& source_;
    ProgressMeter& progress_;
    const ArchiveFormat::Container container_;
    const std::string place_;
    const Write write_;
    const mode_t mask_;
    const Utf8Locale locale_;
    std::exception_ptr failure_; ///< thrown by a callback of the library
    bool isFailed_ = false;
    std::unique_ptr<::archive, Freer> archive_;
    std::string path_;                            ///< of the innermost folder in the archive
    std::vector<std::size_t> folders_;            ///< for each open folder, length of its parent's path
    std::map<std::uint64_t, std::string> linked_; ///< first path of each file with hard links, by link group
    std::size_t lostXattrs_ = 0;
    std::vector<char> buffer_;
};

} // namespace storage::host
