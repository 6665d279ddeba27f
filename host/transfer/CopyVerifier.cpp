#include "host/transfer/CopyVerifier.h"

#include "host/storage/ByteStreamDevice.h"
#include "host/support/CommandError.h"
#include "host/support/Interruption.h"

#include <algorithm>
#include <fmt/format.h>
#include <span>

namespace storage::host {

namespace {

using Child = ExportSource::Child;

bool isNameBefore(const Child& left, const Child& right) {
    return left.name < right.name;
}

/// Reads a file block by block. Every block except the last one is full.
class Blocks {
public:
    Blocks(const SessionStorage& storage, ExportSource& entries, const StoragePath& path,
           std::vector<char>& buffer)
        : storage_(storage), buffer_(buffer) {
        storage_.attribute([&] { reader_ = entries.open(path); });
    }

    std::span<const char> next() {
        std::size_t size = 0;
        storage_.attribute([&] {
            std::size_t count = 1;
            while (count > 0 && size < buffer_.size()) {
                count = reader_->read(std::span(buffer_).subspan(size));
                size += count;
            }
        });
        return std::span(buffer_).first(size);
    }

private:
    const SessionStorage& storage_;
    std::vector<char>& buffer_;
    std::unique_ptr<ExportSource::Reader> reader_;
};

} // namespace

CopyVerifier::CopyVerifier(Session& session, ProgressMeter& progress)
    : session_(session),
      progress_(progress),
      entries_(session),
      sourceBuffer_(transferBufferSize),
      copyBuffer_(transferBufferSize) {}

void CopyVerifier::run(const StoragePath& source, const StoragePath& copy) {
    open_.clear();
    const EntryKind kind = kindOf(source);
    if (kindOf(copy) != kind) {
        throw CommandError(copy.printed(), "not of the same kind as " + source.printed());
    }
    open_.push_back({source, copy, kind});
    while (!open_.empty()) {
        Interruption::check();
        const Pair pair = std::move(open_.back());
        open_.pop_back();
        if (pair.kind == EntryKind::Folder) {
            compareFolder(pair);
        } else if (pair.kind == EntryKind::File) {
            compareFile(pair);
        }
        progress_.countEntry();
    }
}

EntryKind CopyVerifier::kindOf(const StoragePath& path) {
    EntryKind kind = EntryKind::File;
    session_.storageOf(path).attribute([&] { kind = entries_.kindOf(path); });
    return kind;
}

/// Compares with a listing instead of looking up each name: a case-insensitive storage would find one entry
/// under two names.
void CopyVerifier::compareFolder(const Pair& pair) {
    const auto copies = childrenOf(pair.copy);
    for (const Child& child : childrenOf(pair.source)) {
        const StoragePath copy = pair.copy.child(child.name);
        const auto found = std::lower_bound(copies.begin(), copies.end(), child, isNameBefore);
        if (found == copies.end() || found->name != child.name) {
            throw CommandError(copy.printed(), "missing, or stored under another name");
        }
        const StoragePath source = pair.source.child(child.name);
        if (found->kind != child.kind) {
            throw CommandError(copy.printed(), "not of the same kind as " + source.printed());
        }
        open_.push_back({source, copy, child.kind});
    }
}

std::vector<Child> CopyVerifier::childrenOf(const StoragePath& folder) {
    std::vector<Child> children;
    session_.storageOf(folder).attribute([&] { children = entries_.childrenOf(folder); });
    return children;
}

void CopyVerifier::compareFile(const Pair& pair) {
    Blocks source(session_.storageOf(pair.source), entries_, pair.source, sourceBuffer_);
    Blocks copy(session_.storageOf(pair.copy), entries_, pair.copy, copyBuffer_);
    for (unsigned long long offset = 0;;) {
        Interruption::check();
        const auto wanted = source.next();
        const auto found = copy.next();
        const auto differing = std::mismatch(wanted.begin(), wanted.end(), found.begin(), found.end()).first;
        const auto equal = static_cast<std::size_t>(differing - wanted.begin());
        offset += equal;
        if (equal < wanted.size() || equal < found.size()) {
            throw CommandError(pair.copy.printed(),
                               fmt::format("differs from {} at byte {}", pair.source.printed(), offset + 1));
        }
        if (wanted.empty()) {
            return;
        }
        progress_.countBytes(equal);
    }
}

} // namespace storage::host
