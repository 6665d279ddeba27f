#include "tests/linearizability/Replay.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>
#include <map>
#include <stdexcept>
#include <variant>

namespace storage::inmemoryprovider::tests {

using provider::ErrorCode;
using provider::StorageIRI;

namespace {

/// The answer of a call that has returned `result`. Passes the value to `use` if the call succeeded.
template <class Value, class Use>
storage::tests::Answer endingOf(const Call& call, Result<Value>&& result, const Use& use) {
    if (const auto* failure = std::get_if<Failure>(&result)) {
        return {failure->code, failure->names == Failure::Names::Source ? call.path : call.target};
    }
    use(std::get<Value>(std::move(result)));
    return {};
}

const auto nothing = [](const auto&) {};

} // namespace

Replay::Replay(const History& history) : history_(history), progress_(history.calls.size()) {
    std::optional<ModelStream> stream;
    for (const auto& call : history.preparation) {
        make(call, stream);
    }
    for (const auto& recorded : history.calls) {
        streams_.resize(std::max(streams_.size(), recorded.thread + 1));
    }
}

bool Replay::mayTake(std::size_t call) const {
    const bool onlyAwaitsValues =
        progress_[call].sizeOpen || progress_[call].timeOpen || progress_[call].flagOpen;
    if (progress_[call].complete || onlyAwaitsValues) {
        return false;
    }
    const auto& calls = history_.calls;
    for (std::size_t other = 0; other < calls.size(); ++other) {
        if (calls[other].end < calls[call].begin && !progress_[other].complete) {
            return false;
        }
    }
    return true;
}

bool Replay::take(std::size_t call) {
    const auto& recorded = history_.calls[call];
    Progress& progress = progress_[call];
    bool explained = false;
    switch (recorded.call.kind) {
    case OperationKind::SetLastModified:
    case OperationKind::SetWritable:
        explained = takeSetterStep(recorded, progress);
        break;
    case OperationKind::GetFolderAttributes:
        explained = takeFolderAttributesStep(recorded, progress);
        break;
    case OperationKind::GetFileAttributes:
        explained = takeFileAttributesStep(recorded, progress);
        break;
    default:
        explained = takeWhole(recorded);
        progress.complete = true;
        break;
    }
    ++progress.steps;
    noteChange(recorded);
    return explained;
}

bool Replay::explainsAll() const {
    return std::all_of(progress_.begin(), progress_.end(), [](const auto& each) { return each.complete; }) &&
           treeAgrees();
}

bool Replay::takeSetterStep(const RecordedCall& recorded, Progress& progress) {
    const auto& call = recorded.call;
    if (progress.steps == 0) {
        const ModelEntry* entry = entryAt(call.path);
        progress.found = progress.inPlace = entry != nullptr;
        progress.complete = !progress.found;
        if (!progress.found) {
            return recorded.outcome.ending == storage::tests::Answer{ErrorCode::NotFound, call.path};
        }
        progress.bytes = entry->bytes;
        return recorded.outcome.ending.succeeded();
    }
    progress.complete = true;
    if (progress.inPlace && call.kind == OperationKind::SetLastModified) {
        model_.setLastModified(StorageIRI(call.path), call.time);
    } else if (progress.inPlace) {
        model_.setWritable(StorageIRI(call.path), call.writable);
    }
    return true;
}

bool Replay::takeFolderAttributesStep(const RecordedCall& recorded, Progress& progress) {
    const auto& outcome = recorded.outcome;
    const auto result = model_.folderAttributes(StorageIRI(recorded.call.path));
    const auto* folder = std::get_if<ModelEntry>(&result);
    if (folder == nullptr) {
        progress.complete = true;
        return outcome.ending == storage::tests::Answer{ErrorCode::NotFound, recorded.call.path};
    }
    if (progress.steps == 0) {
        return !outcome.ending.succeeded() || timeAgrees(folder->lastModified, outcome.lastModified);
    }
    progress.complete = true;
    return outcome.ending.succeeded() && folder->writable == outcome.writable;
}

bool Replay::takeFileAttributesStep(const RecordedCall& recorded, Progress& progress) {
    const auto result = model_.fileAttributes(StorageIRI(recorded.call.path));
    const auto* file = std::get_if<ModelEntry>(&result);
    if (file == nullptr) {
        progress.complete = true;
        return recorded.outcome.ending == storage::tests::Answer{ErrorCode::NotFound, recorded.call.path};
    }
    progress.bytes = file->bytes;
    progress.found = progress.inPlace = true;
    progress.sizeOpen = progress.timeOpen = progress.flagOpen = true;
    return recorded.outcome.ending.succeeded();
}

bool Replay::takeWhole(const RecordedCall& recorded) {
    const Outcome expected = make(recorded.call, streams_[recorded.thread]);
    const Outcome& seen = recorded.outcome;
    return expected.ending == seen.ending && expected.exists == seen.exists &&
           expected.listing == seen.listing && expected.bytes == seen.bytes;
}

Outcome Replay::make(const Call& call, std::optional<ModelStream>& stream) {
    Outcome outcome;
    const StorageIRI iri(call.path);
    const auto answer = [&](bool exists) { outcome.exists = exists; };
    const auto keepStream = [&](ModelStream opened) { stream = std::move(opened); };
    switch (call.kind) {
    case OperationKind::CreateFile:
        outcome.ending = endingOf(call, model_.createFile(iri), nothing);
        break;
    case OperationKind::CreateFolder:
        outcome.ending = endingOf(call, model_.createFolder(iri), nothing);
        break;
    case OperationKind::RemoveFile:
        outcome.ending = endingOf(call, model_.removeFile(iri), nothing);
        break;
    case OperationKind::RemoveFolder:
        outcome.ending = endingOf(call, model_.removeFolder(iri), nothing);
        break;
    case OperationKind::MoveFile:
        outcome.ending = endingOf(call, model_.moveFile(iri, StorageIRI(call.target), call.policy), nothing);
        break;
    case OperationKind::MoveFolder:
        outcome.ending =
            endingOf(call, model_.moveFolder(iri, StorageIRI(call.target), call.policy), nothing);
        break;
    case OperationKind::FileExists:
        outcome.ending = endingOf(call, model_.fileExists(iri), answer);
        break;
    case OperationKind::FolderExists:
        outcome.ending = endingOf(call, model_.folderExists(iri), answer);
        break;
    case OperationKind::ListAll:
        outcome.ending = endingOf(call, model_.list(iri, ListingKind::All),
                                  [&](auto&& listing) { outcome.listing = std::move(listing); });
        break;
    case OperationKind::OpenStream:
        stream.reset();
        outcome.ending = endingOf(call, model_.openStream(iri, call.options), keepStream);
        break;
    case OperationKind::OpenReadOnlyStream:
        stream.reset();
        outcome.ending = endingOf(call, model_.openReadOnlyStream(iri), keepStream);
        break;
    case OperationKind::StreamRead:
        outcome.bytes = stream.value().read(mostRead);
        break;
    case OperationKind::StreamWrite:
        stream.value().write(call.data);
        break;
    default:
        throw std::logic_error("not a call that is one step");
    }
    return outcome;
}

void Replay::noteChange(const RecordedCall& changer) {
    const bool movedFolder =
        changer.call.kind == OperationKind::MoveFolder && changer.outcome.ending.succeeded();
    for (std::size_t i = 0; i < progress_.size(); ++i) {
        Progress& progress = progress_[i];
        const auto& recorded = history_.calls[i];
        if (!progress.found || progress.complete) {
            continue;
        }
        const ModelEntry* entry = entryAt(recorded.call.path);
        const bool replaced = movedFolder && changer.call.target == recorded.call.path;
        progress.inPlace =
            progress.inPlace && entry != nullptr && entry->bytes == progress.bytes && !replaced;
        if (recorded.call.kind == OperationKind::GetFileAttributes) {
            explainAttributes(recorded, progress);
        }
    }
}

/// After a move or replacement, a file shares its bytes with its successor, but not its time and flag. These
/// then change only by setters that found the file earlier.
void Replay::explainAttributes(const RecordedCall& recorded, Progress& progress) const {
    const auto& outcome = recorded.outcome;
    progress.sizeOpen = progress.sizeOpen && progress.bytes->size() != outcome.size;
    if (progress.inPlace) {
        const ModelEntry& entry = *entryAt(recorded.call.path);
        progress.timeOpen = progress.timeOpen && !timeAgrees(entry.lastModified, outcome.lastModified);
        progress.flagOpen = progress.flagOpen && entry.writable != outcome.writable;
    } else {
        for (const auto& other : history_.calls) {
            const bool sameFile = other.call.path == recorded.call.path && other.begin < recorded.end;
            if (sameFile && other.call.kind == OperationKind::SetLastModified) {
                progress.timeOpen = progress.timeOpen && other.call.time != outcome.lastModified;
            } else if (sameFile && other.call.kind == OperationKind::SetWritable) {
                progress.flagOpen = progress.flagOpen && other.call.writable != outcome.writable;
            }
        }
    }
    progress.complete = !progress.sizeOpen && !progress.timeOpen && !progress.flagOpen;
}

const ModelEntry* Replay::entryAt(const std::u16string& path) const {
    const auto found = model_.entries().find(path);
    return found == model_.entries().end() ? nullptr : &found->second;
}

/// The model has no time for a stamp. It only requires that no caller has set that time.
bool Replay::timeAgrees(const ModelTime& expected, const boost::posix_time::ptime& seen) const {
    if (const auto* set = std::get_if<boost::posix_time::ptime>(&expected)) {
        return *set == seen;
    }
    return !isSetInRound(seen);
}

bool Replay::isSetInRound(const boost::posix_time::ptime& time) const {
    return std::any_of(history_.calls.begin(), history_.calls.end(), [&](const auto& recorded) {
        return recorded.call.kind == OperationKind::SetLastModified && recorded.call.time == time;
    });
}

bool Replay::treeAgrees() const {
    if (model_.entries().size() != history_.tree.size()) {
        return false;
    }
    std::map<Stamp, boost::posix_time::ptime> stamps;
    return std::all_of(history_.tree.begin(), history_.tree.end(), [&](const auto& element) {
        const auto& [path, left] = element;
        const ModelEntry* entry = entryAt(path);
        if (entry == nullptr || entry->isFolder() != left.folder || entry->writable != left.writable ||
            !timeAgrees(entry->lastModified, left.lastModified)) {
            return false;
        }
        const auto* stamp = std::get_if<Stamp>(&entry->lastModified);
        const bool sameTime =
            stamp == nullptr || stamps.emplace(*stamp, left.lastModified).first->second == left.lastModified;
        return sameTime && (left.folder || *entry->bytes == left.bytes);
    });
}

} // namespace storage::inmemoryprovider::tests
