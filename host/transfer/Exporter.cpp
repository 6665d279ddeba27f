#include "host/transfer/Exporter.h"

#include "host/storage/ByteStreamDevice.h"
#include "host/support/CommandError.h"
#include "host/support/FileTime.h"
#include "host/support/Interruption.h"
#include "host/transfer/DiskExportTarget.h"
#include "host/transfer/DiskName.h"

#include <fmt/format.h>
#include <span>
#include <utility>

namespace storage::host {

Exporter::Exporter(ExportSource& source, Console& console, TransferOptions options)
    : source_(source),
      console_(console),
      options_(std::move(options)),
      progress_(console, options_.notices == TransferOptions::Notices::Shown
                             ? ProgressMeter::Display::Shown
                             : ProgressMeter::Display::Hidden),
      buffer_(std::make_unique_for_overwrite<char[]>(transferBufferSize)) {}

void Exporter::run(const StoragePath& source, const std::string& target, RootAttributes rootAttributes) {
    DiskExportTarget disk(source_, progress_, std::span(buffer_.get(), transferBufferSize), target,
                          rootAttributes);
    run(source, disk, target, target.substr(target.rfind('/') + 1));
    if (const std::string losses = disk.losses(); !losses.empty()) {
        notice(target, losses);
    }
}

void Exporter::run(const StoragePath& source, ExportTarget& target, const std::string& place,
                   const std::string& name) {
    open_.clear(); // an interrupted run leaves folders open
    target_ = &target;
    top_ = source;
    Interruption::check();
    console_.attempt(source.printed(), [&] {
        const EntryKind kind = source_.kindOf(source);
        const Verdict verdict = options_.selection->ofTop(source.name(), kind == EntryKind::Folder);
        if (verdict != Verdict::Excluded) {
            exportEntry(source, kind, name, place, verdict);
        }
    });
    while (!open_.empty() && !target.isFailed()) {
        Interruption::check();
        exportNext();
    }
}

/// Exports the next entry of the innermost open folder, or leaves the folder.
void Exporter::exportNext() {
    OpenFolder& folder = open_.back();
    if (folder.next == folder.part.children.size()) {
        if (folder.part.next != 0) {
            console_.attempt(folder.source.printed(), [&] { readPart(folder.part.next); });
            return;
        }
        const OpenFolder done = std::move(folder);
        open_.pop_back();
        console_.attempt(done.source.printed(), [&] { leaveFolder(done); });
        return;
    }
    const ExportSource::Child child = std::move(folder.part.children[folder.next++]);
    const StoragePath path = folder.source.child(child.name);
    const Verdict verdict =
        options_.selection->ofChild(path.rebased(top_, {}), child.kind == EntryKind::Folder, folder.verdict);
    if (verdict == Verdict::Excluded) {
        return;
    }
    console_.attempt(path.printed(), [&] {
        const std::string name = toDiskName(child.name, path);
        exportEntry(path, child.kind, name, target_->placeIn(folder.place, name), verdict);
    });
}

void Exporter::exportEntry(const StoragePath& source, EntryKind kind, const std::string& name,
                           const std::string& place, Verdict verdict) {
    switch (kind) {
    case EntryKind::Folder:
        open_.push_back({source, name, place, verdict, {}});
        if (verdict == Verdict::Included) {
            enterFolders();
        }
        readPart(0);
        break;
    case EntryKind::Socket:
        ++totals_.skipped;
        notice(source.printed(), std::string("skipped, ") + describe(kind));
        break;
    case EntryKind::File:
        exportFile(source, name, place);
        break;
    default:
        exportSpecial(source, kind, name, place);
    }
}

/// Reads entries of the innermost open folder. A part that cannot be read is the last one.
void Exporter::readPart(std::uint64_t position) {
    OpenFolder& folder = open_.back();
    folder.part = {};
    folder.next = 0;
    folder.part = source_.childrenFrom(folder.source, position);
}

void Exporter::exportFile(const StoragePath& source, const std::string& name, const std::string& place) {
    if (isUnchanged(source, place)) {
        ++totals_.unchanged;
        countEntry();
        return;
    }
    enterFolders();
    totals_.bytes += printInDryRun(source, EntryKind::File, place) ? source_.sizeOf(source)
                                                                   : target_->addFile(source, name);
    ++totals_.files;
    countEntry();
}

void Exporter::exportSpecial(const StoragePath& source, EntryKind kind, const std::string& name,
                             const std::string& place) {
    enterFolders();
    if (!printInDryRun(source, kind, place) && !target_->addSpecial(source, kind, name)) {
        ++totals_.skipped;
        notice(source.printed(), std::string("skipped, ") + describe(kind));
        return;
    }
    ++(kind == EntryKind::SymbolicLink ? totals_.symbolicLinks : totals_.specialFiles);
    countEntry();
}

/// Enters the open folders that are not entered yet, before the innermost one or its entry is exported.
void Exporter::enterFolders() {
    for (std::size_t i = 0; i < open_.size(); ++i) {
        if (open_[i].isEntered) {
            continue;
        }
        try {
            enterFolder(open_[i]);
        } catch (...) {
            open_.erase(open_.begin() + static_cast<std::ptrdiff_t>(i), open_.end());
            throw;
        }
    }
}

void Exporter::enterFolder(OpenFolder& folder) {
    if (!printInDryRun(folder.source, EntryKind::Folder, folder.place)) {
        target_->enterFolder(folder.source, folder.name);
    }
    folder.isEntered = true;
    ++totals_.folders;
    countEntry();
}

void Exporter::countEntry() {
    progress_.countEntry();
    afterEntry_();
}

void Exporter::leaveFolder(const OpenFolder& done) {
    if (done.isEntered && options_.effect == TransferOptions::Effect::Transfer) {
        target_->leaveFolder();
    }
}

/// Whether an update skips the file.
bool Exporter::isUnchanged(const StoragePath& source, const std::string& place) {
    if (options_.files == TransferOptions::Files::All) {
        return false;
    }
    const auto existing = target_->find(place);
    const timespec modified = source_.entryAt(source, EntryKind::File).attributes.modified.value();
    return existing && existing->kind == EntryKind::File && existing->size == source_.sizeOf(source) &&
           isSameTime(existing->modified, modified);
}

/// Prints the entry in a dry run, unless it is an existing folder.
/// @return whether this is a dry run
/// @throws CommandError when an entry of another kind exists
bool Exporter::printInDryRun(const StoragePath& source, EntryKind kind, const std::string& place) {
    if (options_.effect == TransferOptions::Effect::Transfer) {
        return false;
    }
    const auto existing = target_->find(place);
    if (existing && existing->kind != kind) {
        throw CommandError(place, std::string(describe(existing->kind)) + " is in the way");
    }
    if (!existing || kind != EntryKind::Folder) {
        console_.out() << fmt::format("'{}' -> '{}'\n", console_.shown(source.text()), console_.shown(place));
    }
    return true;
}

void Exporter::notice(const std::string& path, const std::string& text) {
    if (options_.notices == TransferOptions::Notices::Shown) {
        console_.notice(path, text);
    }
}

} // namespace storage::host
