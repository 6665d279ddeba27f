#include "tests/model/LockstepRun.h"

#include "hostapi/storage/provider/ShortNamespace.h"
#include "inmemoryprovider/PluginEntry.h"
#include "tests/model/PathPool.h"
#include "tests/model/PathRules.h"
#include "tests/model/ShownText.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <type_traits>
#include <utility>

namespace storage::inmemoryprovider::tests {

using provider::ErrorCode;
using provider::Exception;

namespace {

constexpr std::size_t mostOpen = 8;
constexpr char untouched = '\x5A';
constexpr std::size_t roomBehind = 8;

std::string number(ErrorCode code) {
    return "code " + std::to_string(static_cast<int>(code));
}

std::vector<std::u16string> pathsOf(const ReferenceModel& model) {
    std::vector<std::u16string> paths;
    for (const auto& element : model.entries()) {
        paths.push_back(element.first);
    }
    return paths;
}

std::size_t countBelow(const ReferenceModel& model, const std::u16string& folder) {
    const auto& entries = model.entries();
    return static_cast<std::size_t>(std::count_if(entries.begin(), entries.end(), [&](const auto& element) {
        return element.first != folder && isSelfOrBelow(element.first, folder);
    }));
}

bool holdsBytes(const ReferenceModel& model, const std::shared_ptr<std::string>& bytes) {
    return std::any_of(model.entries().begin(), model.entries().end(),
                       [&](const auto& element) { return element.second.bytes == bytes; });
}

/// Different bytes for each write.
std::string dataToWrite(std::size_t step, long count) {
    std::string data;
    for (long i = 0; i < count; ++i) {
        data += static_cast<char>('A' + (step * 7 + static_cast<std::size_t>(i)) % 53);
    }
    return data;
}

std::string text(const Operation& operation) {
    std::ostringstream out;
    out << operation;
    return out.str();
}

/// Trees are compared only after operations that should change something. An unwanted change by another
/// operation is detected by the next comparison.
bool isToChangeSomething(OperationKind kind) {
    switch (kind) {
    case OperationKind::CreateFile:
    case OperationKind::CreateFolder:
    case OperationKind::RemoveFile:
    case OperationKind::RemoveFolder:
    case OperationKind::SetLastModified:
    case OperationKind::SetWritable:
    case OperationKind::OpenStream:
    case OperationKind::MoveFile:
    case OperationKind::MoveFolder:
    case OperationKind::StreamWrite:
        return true;
    default:
        return false;
    }
}

ListingKind listingKindOf(OperationKind kind) {
    switch (kind) {
    case OperationKind::ListFiles:
        return ListingKind::Files;
    case OperationKind::ListFolders:
        return ListingKind::Folders;
    default:
        return ListingKind::All;
    }
}

} // namespace

LockstepRun::LockstepRun(OutcomeTally& tally, std::size_t changesPerComparison)
    : tally_(tally), changesPerComparison_(changesPerComparison) {
    for (const auto& text : pathPool()) {
        knownPaths_.insert(normalised(text));
    }
}

std::optional<std::string> LockstepRun::run(const std::vector<Operation>& operations) {
    std::string problem;
    try {
        buildProvider_V1(&provider_);
        compareTree();
        for (const auto& operation : operations) {
            step(operation);
            if (isToChangeSomething(operation.kind) && ++changes_ % changesPerComparison_ == 0) {
                compareTree();
            }
        }
        compareTree();
        compareExistence();
        outliveTheProvider();
        return std::nullopt;
    } catch (const Mismatch& mismatch) {
        problem = mismatch.what;
    } catch (const std::exception& error) {
        problem = std::string("unexpected exception: ") + error.what();
    } catch (...) {
        problem = "unexpected exception of an unknown type";
    }
    for (const auto& line : transcript_) {
        problem += "\n  " + line;
    }
    return problem;
}

void LockstepRun::step(const Operation& operation) {
    StampLedger::awaitTick();
    if (operation.kind == OperationKind::HasFeature) {
        transcript_.push_back(text(operation));
        const bool has = provider_->doHasFeature(operation.feature);
        require(has == ReferenceModel::hasFeature(operation.feature), "the answer differs");
        note(operation.kind, has ? "true" : "false");
    } else if (operation.kind >= OperationKind::ListingStep) {
        onListing(operation);
    } else if (operation.kind >= OperationKind::StreamRead) {
        onStream(operation);
    } else {
        onLocation(operation, resolve(operation.location, model_));
    }
}

void LockstepRun::onLocation(const Operation& operation, const StorageIRI& iri) {
    transcript_.push_back(text(operation) + " at " + shown(iri));
    switch (operation.kind) {
    case OperationKind::CreateFile:
    case OperationKind::CreateFolder:
        onCreation(operation, iri);
        break;
    case OperationKind::RemoveFile:
    case OperationKind::RemoveFolder:
        onRemoval(operation, iri);
        break;
    case OperationKind::MoveFile:
    case OperationKind::MoveFolder:
        onMove(operation, iri, resolve(operation.destination, model_));
        break;
    case OperationKind::OpenStream:
    case OperationKind::OpenReadOnlyStream:
        onOpen(operation, iri);
        break;
    case OperationKind::ListAll:
    case OperationKind::ListFiles:
    case OperationKind::ListFolders:
        onList(operation, iri);
        break;
    case OperationKind::FileExists:
    case OperationKind::FolderExists:
        onExistence(operation, iri);
        break;
    case OperationKind::GetFileAttributes:
    case OperationKind::GetFolderAttributes:
        onAttributes(operation, iri);
        break;
    default:
        onSetter(operation, iri);
        break;
    }
}

void LockstepRun::onCreation(const Operation& operation, const StorageIRI& iri) {
    const bool file = operation.kind == OperationKind::CreateFile;
    compareCall(operation.kind, file ? model_.createFile(iri) : model_.createFolder(iri), iri, iri, [&] {
        if (file) {
            provider_->doCreateFile(iri);
        } else {
            provider_->doCreateFolder(iri);
        }
        return Done();
    });
}

void LockstepRun::onRemoval(const Operation& operation, const StorageIRI& iri) {
    const bool file = operation.kind == OperationKind::RemoveFile;
    compareCall(operation.kind, file ? model_.removeFile(iri) : model_.removeFolder(iri), iri, iri, [&] {
        if (file) {
            provider_->doRemoveFile(iri);
        } else {
            provider_->doRemoveFolder(iri);
        }
        return Done();
    });
}

void LockstepRun::onExistence(const Operation& operation, const StorageIRI& iri) {
    const bool asksForFile = operation.kind == OperationKind::FileExists;
    const auto expected = asksForFile ? model_.fileExists(iri) : model_.folderExists(iri);
    const auto seen = compareCall(operation.kind, expected, iri, iri, [&] {
        return asksForFile ? provider_->doFileExists(iri) : provider_->doFolderExists(iri);
    });
    require(seen == std::get<bool>(expected), "the answer differs");
}

void LockstepRun::onAttributes(const Operation& operation, const StorageIRI& iri) {
    if (operation.kind == OperationKind::GetFileAttributes) {
        const auto expected = model_.fileAttributes(iri);
        const auto seen = compareCall(operation.kind, expected, iri, iri,
                                      [&] { return provider_->doGetFileAttributes(iri); });
        if (seen) {
            compareFileAttributes(*seen, std::get<ModelEntry>(expected));
        }
        return;
    }
    const auto expected = model_.folderAttributes(iri);
    const auto seen = compareCall(operation.kind, expected, iri, iri,
                                  [&] { return provider_->doGetFolderAttributes(iri); });
    if (seen) {
        compareFlagAndTime(*seen, std::get<ModelEntry>(expected));
    }
}

void LockstepRun::onSetter(const Operation& operation, const StorageIRI& iri) {
    if (operation.kind == OperationKind::SetLastModified) {
        ledger_.noteSet(operation.time);
        compareCall(operation.kind, model_.setLastModified(iri, operation.time), iri, iri, [&] {
            provider_->doSetLastModified(iri, operation.time);
            return Done();
        });
        return;
    }
    compareCall(operation.kind, model_.setWritable(iri, operation.writable), iri, iri, [&] {
        provider_->doSetWritable(iri, operation.writable);
        return Done();
    });
}

void LockstepRun::onMove(const Operation& operation, const StorageIRI& source,
                         const StorageIRI& destination) {
    transcript_.back() += " to " + shown(destination);
    const bool movesFile = operation.kind == OperationKind::MoveFile;
    const auto from = normalised(source.getResolvedPath());
    const auto to = normalised(destination.getResolvedPath());
    const auto before = pathsOf(model_);
    const std::size_t below = countBelow(model_, from);
    const bool targetThere = model_.entries().contains(to);
    const bool targetOpen = std::any_of(streams_.begin(), streams_.end(), [&](const OpenStream& stream) {
        return targetThere && stream.model.bytes() == model_.entries().at(to).bytes;
    });

    const auto expected = movesFile ? model_.moveFile(source, destination, operation.policy)
                                    : model_.moveFolder(source, destination, operation.policy);
    compareCall(operation.kind, expected, source, destination, [&] {
        if (movesFile) {
            provider_->doMoveFile(source, destination, operation.policy);
        } else {
            provider_->doMoveFolder(source, destination, operation.policy);
        }
        return Done();
    });

    if (const auto* failure = std::get_if<Failure>(&expected)) {
        noteHalfDone(operation.kind, before, failure->code);
        return;
    }
    if (below > 2) {
        note(operation.kind, "moved more than two entries");
    }
    if (targetThere) {
        note(operation.kind, targetOpen ? "replaced a file that was open" : "replaced its target");
    }
}

void LockstepRun::noteHalfDone(OperationKind kind, const std::vector<std::u16string>& before,
                               ErrorCode code) {
    const auto after = pathsOf(model_);
    if (!std::includes(before.begin(), before.end(), after.begin(), after.end())) {
        note(kind, "stopped midway, " + number(code));
    } else if (after != before) {
        note(kind, "failed after removing its target, " + number(code));
    }
}

void LockstepRun::onOpen(const Operation& operation, const StorageIRI& iri) {
    const bool forWriting = operation.kind == OperationKind::OpenStream;
    const std::size_t entriesBefore = model_.entries().size();
    const auto expected =
        forWriting ? model_.openStream(iri, operation.options) : model_.openReadOnlyStream(iri);
    auto real = compareCall(operation.kind, expected, iri, iri, [&] {
        return forWriting ? provider_->doOpenStream(iri, operation.options)
                          : provider_->doOpenReadOnlyStream(iri);
    });
    if (!real) {
        return;
    }
    if (model_.entries().size() > entriesBefore) {
        note(operation.kind, "created the file");
    }
    if (streams_.size() == mostOpen) {
        streams_.erase(streams_.begin());
    }
    streams_.push_back({std::move(*real), std::get<ModelStream>(expected)});
}

void LockstepRun::onList(const Operation& operation, const StorageIRI& iri) {
    const ListingKind kind = listingKindOf(operation.kind);
    const auto expected = model_.list(iri, kind);
    auto real = compareCall(operation.kind, expected, iri, iri, [&] { return list(iri, kind); });
    if (!real) {
        return;
    }
    if (listings_.size() == mostOpen) {
        listings_.erase(listings_.begin());
    }
    listings_.push_back({std::move(*real), std::get<std::vector<FolderEntry>>(expected), 0,
                         normalised(iri.getResolvedPath()), kind});
}

void LockstepRun::onStream(const Operation& operation) {
    if (streams_.empty()) {
        return;
    }
    const std::size_t slot = operation.slot % streams_.size();
    OpenStream& stream = streams_[slot];
    transcript_.push_back(text(operation) + " on #" + std::to_string(slot));
    if (!holdsBytes(model_, stream.model.bytes())) {
        note(operation.kind, "the file had been removed");
    }
    if (stream.model.isPastEnd()) {
        note(operation.kind, "from a position past the end");
    }
    if (operation.kind == OperationKind::StreamRead) {
        readStream(stream, operation.amount);
    } else if (operation.kind == OperationKind::StreamWrite) {
        writeStream(stream, operation.amount);
    } else if (operation.kind == OperationKind::StreamSeek) {
        seekStream(stream, operation.amount, operation.direction);
    } else if (operation.kind == OperationKind::StreamFlush) {
        stream.real->flush();
        note(operation.kind, "ok");
    } else {
        streams_.erase(streams_.begin() + static_cast<std::ptrdiff_t>(slot));
        note(operation.kind, "ok");
    }
}

void LockstepRun::readStream(OpenStream& stream, long count) {
    const std::string expected = stream.model.read(count);
    std::string buffer(expected.size() + roomBehind, untouched);
    const long result = stream.real->read(buffer.data(), count);
    require(result == (expected.empty() ? -1 : static_cast<long>(expected.size())),
            "the number of bytes read differs");
    require(buffer == expected + std::string(roomBehind, untouched), "the bytes read differ");
    note(OperationKind::StreamRead, expected.empty() ? "-1" : "some bytes");
}

void LockstepRun::writeStream(OpenStream& stream, long count) {
    const std::string data = dataToWrite(transcript_.size(), count);
    const std::size_t sizeBefore = stream.model.bytes()->size();
    stream.model.write(data);
    const long result = stream.real->write(data.data(), count);
    require(result == count, "write did not return its count");
    note(OperationKind::StreamWrite, count <= 0                                  ? "nothing"
                                     : stream.model.bytes()->size() > sizeBefore ? "the file grew"
                                                                                 : "in place");
}

void LockstepRun::seekStream(OpenStream& stream, long offset, std::ios_base::seekdir direction) {
    const long expected = stream.model.seek(offset, direction);
    const std::streampos result = stream.real->seek(offset, direction);
    require(result == std::streampos(expected), "the new position differs");
    note(OperationKind::StreamSeek, expected < 0 ? "-1" : "ok");
}

void LockstepRun::onListing(const Operation& operation) {
    if (listings_.empty()) {
        return;
    }
    const std::size_t slot = operation.slot % listings_.size();
    OpenListing& listing = listings_[slot];
    transcript_.push_back(text(operation) + " on #" + std::to_string(slot));
    if (model_.listingOf(listing.folder, listing.kind) != listing.expected) {
        note(operation.kind, "the folder had changed");
    }
    if (operation.kind == OperationKind::ListingStep) {
        stepListing(listing);
    } else if (operation.kind == OperationKind::ListingClone) {
        note(operation.kind, listing.next == 0 ? "before the first entry" : "after some entries");
        OpenListing copy{listing.real->clone(), listing.expected, listing.next, listing.folder, listing.kind};
        if (listings_.size() == mostOpen) {
            listings_.erase(listings_.begin());
        }
        listings_.push_back(std::move(copy));
    } else {
        listings_.erase(listings_.begin() + static_cast<std::ptrdiff_t>(slot));
        note(operation.kind, "ok");
    }
}

void LockstepRun::stepListing(OpenListing& listing) {
    const bool hasNext = listing.next < listing.expected.size();
    require(listing.real->hasNext() == hasNext, "hasNext differs");
    note(OperationKind::ListingStep, hasNext ? "an entry" : "the end");
    if (!hasNext) {
        return;
    }
    listing.real->step();
    require(listing.real->getEntry() == listing.expected[listing.next], "the listing yields another entry");
    ++listing.next;
}

template <class Value, class Call>
auto LockstepRun::compareCall(OperationKind kind, const Result<Value>& expected, const StorageIRI& source,
                              const StorageIRI& destination, Call call)
    -> std::optional<std::invoke_result_t<Call>> {
    const Failure* failure = std::get_if<Failure>(&expected);
    std::optional<std::invoke_result_t<Call>> value;
    std::optional<Exception> thrown;
    try {
        value = call();
    } catch (const Exception& exception) {
        thrown = exception;
    }
    const std::string seen = thrown ? number(thrown->getErrorCode()) : "ok";
    const std::string wanted = failure != nullptr ? number(failure->code) : "ok";
    if (seen != wanted) {
        throw Mismatch{"the provider returns " + seen + ", the model " + wanted};
    }
    if (thrown) {
        const auto& named = failure->names == Failure::Names::Source ? source : destination;
        require(thrown->getIRI() == named, "the exception names the wrong location");
    }
    note(kind, seen);
    return value;
}

void LockstepRun::compareTree() {
    std::map<std::u16string, std::vector<FolderEntry>> listings;
    for (const auto& [path, entry] : model_.entries()) {
        knownPaths_.insert(path);
        const auto type = entry.isFolder() ? FolderEntry::EntryType::Folder : FolderEntry::EntryType::File;
        listings[parentOf(path)].emplace_back(nameOf(path), type);
    }
    for (const auto& [path, entry] : model_.entries()) {
        try {
            if (entry.isFolder()) {
                compareFolder(StorageIRI(addressOf(path)), entry, listings[path]);
            } else {
                compareFile(StorageIRI(addressOf(path)), entry);
            }
        } catch (const Mismatch& mismatch) {
            throw Mismatch{"at " + shown(path) + ": " + mismatch.what};
        } catch (const Exception& exception) {
            throw Mismatch{"at " + shown(path) + ": " + number(exception.getErrorCode())};
        }
    }
}

void LockstepRun::compareFolder(const StorageIRI& iri, const ModelEntry& folder,
                                const std::vector<FolderEntry>& listing) {
    compareFlagAndTime(provider_->doGetFolderAttributes(iri), folder);
    const auto iterator = provider_->doListAll(iri);
    for (const auto& entry : listing) {
        require(iterator->hasNext(), "the listing ends too early");
        iterator->step();
        require(iterator->getEntry() == entry, "the listing differs");
    }
    require(!iterator->hasNext(), "the listing has too many entries");
}

void LockstepRun::compareFile(const StorageIRI& iri, const ModelEntry& file) {
    compareFileAttributes(provider_->doGetFileAttributes(iri), file);
    std::string bytes(file.bytes->size(), untouched);
    provider_->doOpenReadOnlyStream(iri)->read(bytes.data(), static_cast<long>(bytes.size()));
    require(bytes == *file.bytes, "the bytes differ");
}

void LockstepRun::compareFileAttributes(const FileAttributes& seen, const ModelEntry& file) {
    require(seen.getSize() == file.bytes->size(), "the size differs");
    compareFlagAndTime(seen, file);
}

template <class Attributes>
void LockstepRun::compareFlagAndTime(const Attributes& seen, const ModelEntry& entry) {
    require(seen.isWritable() == entry.writable, "the writable flag differs");
    require(ledger_.agrees(entry.lastModified, seen.getLastModified()), "the time differs");
}

/// Nothing may be found or listed at a path that the model does not have.
void LockstepRun::compareExistence() {
    for (const auto& path : knownPaths_) {
        const StorageIRI iri(addressOf(path), addressOf(path), StorageIRI(path).hasParent() || path.empty());
        const auto entry = model_.entries().find(path);
        const bool there = entry != model_.entries().end();
        const bool folder = there && entry->second.isFolder();
        if (provider_->doFileExists(iri) != (there && !folder) || provider_->doFolderExists(iri) != folder ||
            canBeListed(iri) != folder) {
            throw Mismatch{"another kind of entry, or none, at " + shown(path)};
        }
    }
}

bool LockstepRun::canBeListed(const StorageIRI& iri) const {
    try {
        provider_->doListAll(iri);
        return true;
    } catch (const Exception& exception) {
        return exception.getErrorCode() != ErrorCode::NotFound;
    }
}

void LockstepRun::outliveTheProvider() {
    provider_.reset();
    for (auto& stream : streams_) {
        seekStream(stream, 0, std::ios_base::beg);
        readStream(stream, -1);
    }
    for (auto& listing : listings_) {
        while (listing.next < listing.expected.size()) {
            stepListing(listing);
        }
        stepListing(listing);
    }
}

std::unique_ptr<LockstepRun::IFolderEntryIterator> LockstepRun::list(const StorageIRI& iri,
                                                                     ListingKind kind) const {
    switch (kind) {
    case ListingKind::Files:
        return provider_->doListFiles(iri);
    case ListingKind::Folders:
        return provider_->doListFolders(iri);
    case ListingKind::All:
        break;
    }
    return provider_->doListAll(iri);
}

void LockstepRun::require(bool agreed, const char* what) {
    if (!agreed) {
        throw Mismatch{what};
    }
}

} // namespace storage::inmemoryprovider::tests
