#include "tests/model/ReferenceModel.h"

#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/model/PathRules.h"

#include <memory>

namespace storage::inmemoryprovider::tests {

using provider::ByteStreamAppend;
using provider::ByteStreamContent;
using provider::ByteStreamExistence;
using provider::ErrorCode;

namespace {

constexpr Failure notFound{ErrorCode::NotFound};
constexpr Failure alreadyExists{ErrorCode::AlreadyExists};
constexpr Failure readOnly{ErrorCode::ReadOnly};
constexpr Failure notEmpty{ErrorCode::FolderNotEmpty};
constexpr Failure destinationExists{ErrorCode::AlreadyExists, Failure::Names::Destination};

bool isRootLocation(const ReferenceModel::StorageIRI& iri) {
    return !iri.hasParent() || iri.getResolvedPath() == u"/";
}

bool isFailure(const Result<Done>& result) {
    return std::holds_alternative<Failure>(result);
}

} // namespace

ReferenceModel::ReferenceModel() {
    entries_[u"/"] = ModelEntry{nullptr, readClock()};
}

Result<Done> ReferenceModel::createFile(const StorageIRI& iri) {
    const auto path = normalised(iri.getResolvedPath());
    if (!isFolder(parentOf(path))) {
        return notFound;
    }
    if (find(path) != nullptr) {
        return alreadyExists;
    }
    if (!isWritable(parentOf(path))) {
        return readOnly;
    }
    const Stamp now = readClock();
    entries_[path] = ModelEntry{std::make_shared<std::string>(), now};
    stamp(parentOf(path), now);
    return Done();
}

Result<Done> ReferenceModel::createFolder(const StorageIRI& iri) {
    const auto path = normalised(iri.getResolvedPath());
    if (!hasParent(path)) {
        return alreadyExists;
    }
    if (!isFolder(parentOf(path))) {
        return notFound;
    }
    if (find(path) != nullptr) {
        return alreadyExists;
    }
    if (!isWritable(parentOf(path))) {
        return readOnly;
    }
    const Stamp now = readClock();
    entries_[path] = ModelEntry{nullptr, now};
    stamp(parentOf(path), now);
    return Done();
}

Result<Done> ReferenceModel::removeFile(const StorageIRI& iri) {
    const auto path = normalised(iri.getResolvedPath());
    if (findFile(path) == nullptr) {
        return notFound;
    }
    if (!isWritable(parentOf(path)) || !isWritable(path)) {
        return readOnly;
    }
    entries_.erase(path);
    stamp(parentOf(path), readClock());
    return Done();
}

Result<Done> ReferenceModel::removeFolder(const StorageIRI& iri) {
    const auto path = normalised(iri.getResolvedPath());
    if (findFolder(path) == nullptr) {
        return notFound;
    }
    if (!childrenOf(path).empty()) {
        return notEmpty;
    }
    if (!isWritable(parentOf(path)) || !isWritable(path)) {
        return readOnly;
    }
    entries_.erase(path);
    stamp(parentOf(path), readClock());
    return Done();
}

Result<bool> ReferenceModel::fileExists(const StorageIRI& iri) const {
    return !isRootLocation(iri) && findFile(normalised(iri.getResolvedPath())) != nullptr;
}

Result<bool> ReferenceModel::folderExists(const StorageIRI& iri) const {
    return isRootLocation(iri) || findFolder(normalised(iri.getResolvedPath())) != nullptr;
}

Result<ModelEntry> ReferenceModel::fileAttributes(const StorageIRI& iri) const {
    const ModelEntry* file = findFile(normalised(iri.getResolvedPath()));
    if (file == nullptr) {
        return notFound;
    }
    return *file;
}

Result<ModelEntry> ReferenceModel::folderAttributes(const StorageIRI& iri) const {
    if (isRootLocation(iri)) {
        return entries_.at(u"/");
    }
    const ModelEntry* folder = findFolder(normalised(iri.getResolvedPath()));
    if (folder == nullptr) {
        return notFound;
    }
    return *folder;
}

Result<Done> ReferenceModel::setLastModified(const StorageIRI& iri, const boost::posix_time::ptime& time) {
    const auto path = isRootLocation(iri) ? u"/" : normalised(iri.getResolvedPath());
    if (!isRootLocation(iri) && find(path) == nullptr) {
        return notFound;
    }
    entries_.at(path).lastModified = time;
    return Done();
}

Result<Done> ReferenceModel::setWritable(const StorageIRI& iri, bool writable) {
    // Unlike setLastModified, this uses the path as given. Only a location without a parent is the root.
    const auto path = iri.hasParent() ? normalised(iri.getPath()) : u"/";
    if (iri.hasParent() && find(path) == nullptr) {
        return notFound;
    }
    entries_.at(path).writable = writable;
    return Done();
}

Result<ModelStream> ReferenceModel::openStream(const StorageIRI& iri, const ByteStreamOpenOptions& options) {
    const auto path = normalised(iri.getResolvedPath());
    if (!isFolder(parentOf(path))) {
        return notFound;
    }
    if (findFile(path) != nullptr) {
        if (!isWritable(path)) {
            return readOnly;
        }
        stamp(path, readClock());
    } else {
        if (find(path) != nullptr) {
            return alreadyExists;
        }
        if (options.existence == ByteStreamExistence::MustExist) {
            return notFound;
        }
        if (!isWritable(parentOf(path))) {
            return readOnly;
        }
        const Stamp now = readClock();
        entries_[path] = ModelEntry{std::make_shared<std::string>(), now};
        stamp(parentOf(path), now);
    }
    if (options.content == ByteStreamContent::Empty) {
        entries_.at(path).bytes->clear();
    }
    return ModelStream(entries_.at(path).bytes, options.append);
}

Result<ModelStream> ReferenceModel::openReadOnlyStream(const StorageIRI& iri) const {
    const ModelEntry* file = findFile(normalised(iri.getResolvedPath()));
    if (file == nullptr) {
        return notFound;
    }
    return ModelStream(file->bytes, ByteStreamAppend::WriteAtPosition);
}

Result<std::vector<ReferenceModel::FolderEntry>> ReferenceModel::list(const StorageIRI& iri,
                                                                      ListingKind kind) const {
    const auto path = normalised(iri.getResolvedPath());
    if (!isFolder(path)) {
        return notFound;
    }
    return listingOf(path, kind);
}

Result<Done> ReferenceModel::moveFile(const StorageIRI& source, const StorageIRI& destination,
                                      ReplacementPolicy policy) {
    const auto from = normalised(source.getResolvedPath());
    const auto to = normalised(destination.getResolvedPath());
    if (findFile(from) == nullptr || !isFolder(parentOf(to))) {
        return notFound;
    }
    if (find(to) != nullptr) {
        if (isFolder(to) || policy == ReplacementPolicy::RefuseExisting ||
            policy == ReplacementPolicy::RefuseExistingFile) {
            return destinationExists;
        }
        if (!isWritable(to) || !isWritable(parentOf(to))) {
            return readOnly;
        }
        entries_.erase(to); // stays removed even if the move fails
    }
    if (from == to) {
        return notFound;
    }
    return relinkFile(from, to, readClock());
}

Result<Done> ReferenceModel::moveFolder(const StorageIRI& source, const StorageIRI& destination,
                                        ReplacementPolicy policy) {
    const auto from = normalised(source.getResolvedPath());
    const auto to = normalised(destination.getResolvedPath());
    if (findFolder(from) == nullptr || !isFolder(parentOf(to))) {
        return notFound;
    }
    if (find(to) != nullptr) {
        if (policy == ReplacementPolicy::RefuseExisting || !isFolder(to) || !childrenOf(to).empty()) {
            return destinationExists;
        }
        if (!isWritable(to) || !isWritable(parentOf(to))) {
            return readOnly;
        }
    }
    if (isSelfOrBelow(to, from)) {
        return destinationExists;
    }
    entries_.erase(to); // stays removed even if the move fails
    return relinkFolder(from, to, readClock());
}

bool ReferenceModel::hasFeature(ExtendedFeature feature) {
    return static_cast<int>(feature) == 6;
}

std::vector<ReferenceModel::FolderEntry> ReferenceModel::listingOf(std::u16string_view path,
                                                                   ListingKind kind) const {
    std::vector<FolderEntry> listing;
    for (const auto& child : childrenOf(path)) {
        const bool folder = isFolder(child);
        if (kind == ListingKind::All || folder == (kind == ListingKind::Folders)) {
            listing.emplace_back(nameOf(child),
                                 folder ? FolderEntry::EntryType::Folder : FolderEntry::EntryType::File);
        }
    }
    return listing;
}

bool ReferenceModel::isFolder(const std::u16string& path) const {
    const auto found = entries_.find(path);
    return found != entries_.end() && found->second.isFolder();
}

/// Finds the entry in its parent folder. Never finds the root, which has no parent.
const ModelEntry* ReferenceModel::find(const std::u16string& path) const {
    const auto found = entries_.find(path);
    return found != entries_.end() && isFolder(parentOf(path)) ? &found->second : nullptr;
}

const ModelEntry* ReferenceModel::findFile(const std::u16string& path) const {
    const ModelEntry* found = find(path);
    return found != nullptr && !found->isFolder() ? found : nullptr;
}

const ModelEntry* ReferenceModel::findFolder(const std::u16string& path) const {
    const ModelEntry* found = find(path);
    return found != nullptr && found->isFolder() ? found : nullptr;
}

bool ReferenceModel::isWritable(const std::u16string& path) const {
    return entries_.at(path).writable;
}

std::vector<std::u16string> ReferenceModel::childrenOf(std::u16string_view path) const {
    std::vector<std::u16string> children;
    for (const auto& element : entries_) {
        if (parentOf(element.first) == path) {
            children.push_back(element.first);
        }
    }
    return children;
}

Stamp ReferenceModel::readClock() {
    return Stamp{stamps_++};
}

void ReferenceModel::stamp(const std::u16string& path, Stamp now) {
    entries_.at(path).lastModified = now;
}

Result<Done> ReferenceModel::relinkFile(const std::u16string& from, const std::u16string& to, Stamp now) {
    if (!isWritable(parentOf(from)) || !isWritable(parentOf(to))) {
        return readOnly;
    }
    entries_[to] = ModelEntry{entries_.at(from).bytes, now, entries_.at(from).writable};
    entries_.erase(from);
    stamp(parentOf(to), now);
    stamp(parentOf(from), now);
    return Done();
}

/// Stops at the first child that cannot be moved. Children moved before it stay moved.
Result<Done> ReferenceModel::relinkFolder(const std::u16string& from, const std::u16string& to, Stamp now) {
    if (!isWritable(parentOf(from)) || !isWritable(from) || !isWritable(parentOf(to))) {
        return readOnly;
    }
    entries_[to] = ModelEntry{nullptr, now};
    for (const auto& child : childrenOf(from)) {
        const auto result = relinkChild(child, appended(to, nameOf(child)), now);
        if (isFailure(result)) {
            return result;
        }
    }
    entries_.erase(from);
    stamp(parentOf(from), now);
    stamp(parentOf(to), now);
    return Done();
}

/// A name can be empty, and paths with additional separators can share a name. So the new path can be taken,
/// or its parent folder missing or another one than the folder just made.
Result<Done> ReferenceModel::relinkChild(const std::u16string& from, const std::u16string& to, Stamp now) {
    if (isFolder(from) && !isWritable(from)) {
        return readOnly;
    }
    if (!isFolder(parentOf(to))) {
        return notFound;
    }
    if (!isWritable(parentOf(to))) {
        return readOnly;
    }
    if (find(to) != nullptr) {
        return destinationExists;
    }
    if (!isFolder(from)) {
        return relinkFile(from, to, now);
    }
    if (isSelfOrBelow(to, from)) {
        return destinationExists;
    }
    return relinkFolder(from, to, now);
}

} // namespace storage::inmemoryprovider::tests
