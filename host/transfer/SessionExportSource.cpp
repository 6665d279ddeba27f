#include "host/transfer/SessionExportSource.h"

#include "host/storage/ByteStreamDevice.h"
#include "host/storage/EntryRules.h"
#include "host/storage/Listing.h"
#include "host/support/FileTime.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>
#include <utility>

namespace storage::host {

using provider::EntryExistence;
using provider::FolderEntry;

namespace {

/// Providers store no holes.
class StreamReader final : public ExportSource::Reader {
public:
    explicit StreamReader(std::unique_ptr<provider::ByteStream> stream) : stream_(std::move(stream)) {}

    std::uint64_t skipHole() override { return 0; }

    std::size_t read(std::span<char> buffer) override {
        const auto count = stream_.read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
        return count > 0 ? static_cast<std::size_t>(count) : 0;
    }

private:
    ByteStreamDevice stream_;
};

/// Ignores attributes that were kept for an earlier entry of another kind.
ExportSource::Entry complete(DiskAttributes known, EntryKind kind, bool isWritable,
                             const boost::posix_time::ptime& lastModified) {
    if (known.kind != kind) {
        known = {};
        known.kind = kind;
    }
    known.modified = known.modified.value_or(toDiskTime(lastModified));
    return {std::move(known), isWritable};
}

} // namespace

EntryKind SessionExportSource::kindOf(const StoragePath& path) {
    return requireEntry(session_.provider(path), path) == EntryExistence::Folder ? EntryKind::Folder
                                                                                 : EntryKind::File;
}

std::vector<ExportSource::Child> SessionExportSource::childrenOf(const StoragePath& folder) {
    std::vector<Child> children;
    for (const FolderEntry& entry : sortedEntries(session_.provider(folder).doListAll(folder.iri()))) {
        children.push_back({entry.getName(), entry.getType() == FolderEntry::EntryType::Folder
                                                 ? EntryKind::Folder
                                                 : EntryKind::File});
    }
    const auto isBefore = [](const Child& left, const Child& right) { return left.name < right.name; };
    const auto special = session_.kept(folder).specialIn(folder);
    const auto stored = static_cast<std::ptrdiff_t>(children.size());
    for (const KeptAttributes::Special& entry : special) {
        const Child child{entry.name, entry.kind};
        if (!std::binary_search(children.begin(), children.begin() + stored, child, isBefore)) {
            children.push_back(child);
        }
    }
    std::inplace_merge(children.begin(), children.begin() + stored, children.end(), isBefore);
    return children;
}

ExportSource::Entry SessionExportSource::entryAt(const StoragePath& path, EntryKind kind) {
    if (kind == EntryKind::Folder) {
        const auto stored = session_.provider(path).doGetFolderAttributes(path.iri());
        const auto time = stored.getLastModified();
        return complete(session_.kept(path).find(path, time), kind, stored.isWritable(), time);
    }
    if (kind == EntryKind::File) {
        const auto stored = session_.provider(path).doGetFileAttributes(path.iri());
        const auto time = stored.getLastModified();
        return complete(session_.kept(path).find(path, time), kind, stored.isWritable(), time);
    }
    return {session_.kept(path).find(path, {}), true};
}

std::uint64_t SessionExportSource::sizeOf(const StoragePath& file) {
    return session_.provider(file).doGetFileAttributes(file.iri()).getSize();
}

std::unique_ptr<ExportSource::Reader> SessionExportSource::open(const StoragePath& file) {
    return std::make_unique<StreamReader>(session_.provider(file).doOpenReadOnlyStream(file.iri()));
}

} // namespace storage::host
