#include "tests/linearizability/Caller.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <stdexcept>

namespace storage::inmemoryprovider::tests {

using provider::IFolderEntryIterator;
using provider::StorageIRI;

namespace {

std::vector<provider::FolderEntry> entriesOf(IFolderEntryIterator& listing) {
    std::vector<provider::FolderEntry> entries;
    while (listing.hasNext()) {
        listing.step();
        entries.push_back(listing.getEntry());
    }
    return entries;
}

} // namespace

bool Caller::canMake(const Call& call) const {
    const bool usesStream = call.kind == OperationKind::StreamRead || call.kind == OperationKind::StreamWrite;
    return !usesStream || stream_ != nullptr;
}

Outcome Caller::make(const Call& call) {
    Outcome outcome;
    outcome.ending = storage::tests::answerOf([&] { run(call, outcome); });
    return outcome;
}

void Caller::run(const Call& call, Outcome& outcome) {
    const StorageIRI iri(call.path);
    const StorageIRI target(call.target);
    const auto noteAttributes = [&](const auto& attributes) {
        outcome.lastModified = attributes.getLastModified();
        outcome.writable = attributes.isWritable();
    };
    switch (call.kind) {
    case OperationKind::CreateFile:
        return provider_.doCreateFile(iri);
    case OperationKind::CreateFolder:
        return provider_.doCreateFolder(iri);
    case OperationKind::RemoveFile:
        return provider_.doRemoveFile(iri);
    case OperationKind::RemoveFolder:
        return provider_.doRemoveFolder(iri);
    case OperationKind::MoveFile:
        return provider_.doMoveFile(iri, target, call.policy);
    case OperationKind::MoveFolder:
        return provider_.doMoveFolder(iri, target, call.policy);
    case OperationKind::FileExists:
        outcome.exists = provider_.doFileExists(iri);
        return;
    case OperationKind::FolderExists:
        outcome.exists = provider_.doFolderExists(iri);
        return;
    case OperationKind::GetFileAttributes: {
        const auto attributes = provider_.doGetFileAttributes(iri);
        outcome.size = attributes.getSize();
        return noteAttributes(attributes);
    }
    case OperationKind::GetFolderAttributes:
        return noteAttributes(provider_.doGetFolderAttributes(iri));
    case OperationKind::SetLastModified:
        return provider_.doSetLastModified(iri, call.time);
    case OperationKind::SetWritable:
        return provider_.doSetWritable(iri, call.writable);
    case OperationKind::ListAll:
        outcome.listing = entriesOf(*provider_.doListAll(iri));
        return;
    case OperationKind::OpenStream:
        stream_.reset();
        stream_ = provider_.doOpenStream(iri, call.options);
        return;
    case OperationKind::OpenReadOnlyStream:
        stream_.reset();
        stream_ = provider_.doOpenReadOnlyStream(iri);
        return;
    case OperationKind::StreamRead: {
        std::string buffer(mostRead, '\0');
        const long count = stream_->read(buffer.data(), mostRead);
        outcome.bytes = count < 0 ? "" : buffer.substr(0, static_cast<std::size_t>(count));
        return;
    }
    case OperationKind::StreamWrite:
        stream_->write(call.data.data(), static_cast<long>(call.data.size()));
        return;
    default:
        throw std::logic_error("not a call that threads make");
    }
}

} // namespace storage::inmemoryprovider::tests
