#include "TemplateProvider.h"

#include "FileStream.h"
#include "Listing.h"
#include "Paths.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace provider_template {

using namespace foundation::storage::provider;
using boost::posix_time::ptime;

namespace {

using Lock = std::lock_guard<std::mutex>;

ptime currentTime() {
    return boost::posix_time::microsec_clock::universal_time();
}

void requireWritable(const Node& node, const StorageIRI& named) {
    if (!node.writable) {
        throw Exception(ErrorCode::ReadOnly, named);
    }
}

/// Unknown values mean ReplaceExisting.
bool refusesExistingFile(ReplacementPolicy policy) {
    return policy == ReplacementPolicy::RefuseExisting || policy == ReplacementPolicy::RefuseExistingFile;
}

bool refusesExistingFolder(ReplacementPolicy policy) {
    return policy == ReplacementPolicy::RefuseExisting;
}

std::vector<std::u16string> pathsAfterMove(const std::vector<std::map<std::u16string, Node>::iterator>& nodes,
                                           const std::u16string& from, const std::u16string& to) {
    std::vector<std::u16string> paths;
    paths.reserve(nodes.size());
    for (const auto& node : nodes) {
        paths.push_back(to + node->first.substr(from.size()));
    }
    return paths;
}

std::vector<FolderEntry> only(FolderEntry::EntryType type, std::vector<FolderEntry> entries) {
    const auto isOther = [type](const FolderEntry& entry) { return entry.getType() != type; };
    entries.erase(std::remove_if(entries.begin(), entries.end(), isOther), entries.end());
    return entries;
}

} // namespace

TemplateProvider::TemplateProvider() : nodes_{{u"", Node{nullptr, currentTime(), true}}} {}

void TemplateProvider::doCreateFile(const StorageIRI& iri) const {
    create(iri, std::make_shared<FileBytes>());
}

void TemplateProvider::doCreateFolder(const StorageIRI& iri) const {
    create(iri, nullptr);
}

// [create]
void TemplateProvider::create(const StorageIRI& iri, std::shared_ptr<FileBytes> content) const {
    const std::u16string path = pathOf(iri);
    const Lock lock(mutex_);
    if (nodes_.count(path) != 0) {
        throw Exception(ErrorCode::AlreadyExists, iri);
    }
    add(path, std::move(content), currentTime(), iri);
}

void TemplateProvider::add(const std::u16string& path, std::shared_ptr<FileBytes> content, const ptime& time,
                           const StorageIRI& named) const {
    Node& parent = requireParent(path, named);
    requireWritable(parent, named);
    nodes_.emplace(path, Node{std::move(content), time, true}); // the last step that can fail
    parent.lastModified = time;
}
// [create]

// An existence test returns false for missing entries; it never throws for them.
bool TemplateProvider::doFileExists(const StorageIRI& iri) const {
    const std::u16string path = pathOf(iri);
    const Lock lock(mutex_);
    const auto node = nodes_.find(path);
    return node != nodes_.end() && !node->second.isFolder();
}

bool TemplateProvider::doFolderExists(const StorageIRI& iri) const {
    const std::u16string path = pathOf(iri);
    const Lock lock(mutex_);
    const auto node = nodes_.find(path);
    return node != nodes_.end() && node->second.isFolder();
}

void TemplateProvider::doRemoveFile(const StorageIRI& iri) const {
    const std::u16string path = pathOf(iri);
    const Lock lock(mutex_);
    const auto file = requireFile(path, iri);
    Node& parent = requireParent(path, iri);
    requireWritable(parent, iri);
    requireWritable(file->second, iri);

    nodes_.erase(file); // open streams on the file hold its bytes
    parent.lastModified = currentTime();
}

void TemplateProvider::doRemoveFolder(const StorageIRI& iri) const {
    const std::u16string path = pathOf(iri);
    const Lock lock(mutex_);
    const auto folder = requireFolder(path, iri);
    Node& parent = requireParent(path, iri);
    if (!isEmpty(path)) {
        throw Exception(ErrorCode::FolderNotEmpty, iri);
    }
    requireWritable(parent, iri);
    requireWritable(folder->second, iri);

    nodes_.erase(folder);
    parent.lastModified = currentTime();
}

// [move]
void TemplateProvider::doMoveFile(const StorageIRI& source, const StorageIRI& destination,
                                  const ReplacementPolicy& policy) const {
    const std::u16string from = pathOf(source);
    std::u16string to = pathOf(destination);
    const Lock lock(mutex_);

    // All checks come first. Missing and read-only entries name the source, conflicting entries the
    // destination.
    const auto file = requireFile(from, source);
    Node& oldParent = requireParent(from, source);
    Node& newParent = requireParent(to, source);
    const auto existing = nodes_.find(to);
    if (existing != nodes_.end()) {
        if (existing->second.isFolder() || refusesExistingFile(policy)) {
            throw Exception(ErrorCode::AlreadyExists, destination);
        }
        requireWritable(existing->second, source);
    }
    requireWritable(oldParent, source);
    requireWritable(newParent, source);

    // The change follows, in steps that cannot fail. The node keeps its bytes, so open streams stay on the
    // file.
    if (existing != nodes_.end() && existing != file) {
        nodes_.erase(existing);
    }
    const ptime now = currentTime();
    relocate(file, std::move(to), now);
    oldParent.lastModified = now;
    newParent.lastModified = now;
}

void TemplateProvider::relocate(Nodes::iterator node, std::u16string&& path, const ptime& time) const {
    auto moved = nodes_.extract(node);
    moved.key() = std::move(path);
    moved.mapped().lastModified = time;
    nodes_.insert(std::move(moved));
}
// [move]

void TemplateProvider::doMoveFolder(const StorageIRI& source, const StorageIRI& destination,
                                    const ReplacementPolicy& policy) const {
    const std::u16string from = pathOf(source);
    const std::u16string to = pathOf(destination);
    const Lock lock(mutex_);

    requireFolder(from, source);
    Node& oldParent = requireParent(from, source);
    Node& newParent = requireParent(to, source);
    const auto existing = nodes_.find(to);
    if (existing != nodes_.end()) {
        if (refusesExistingFolder(policy) || !existing->second.isFolder() || !isEmpty(to)) {
            throw Exception(ErrorCode::AlreadyExists, destination);
        }
        requireWritable(existing->second, source);
    }
    if (isBelow(prefixOf(to), prefixOf(from))) {
        throw Exception(ErrorCode::AlreadyExists, destination); // a folder cannot move into itself
    }
    requireWritable(oldParent, source);
    requireWritable(newParent, source);
    const std::vector<Nodes::iterator> moved = nodesFrom(from);
    for (const auto& node : moved) {
        if (node->second.isFolder()) {
            requireWritable(node->second, source); // its entries are moved out of it
        }
    }
    std::vector<std::u16string> newPaths = pathsAfterMove(moved, from, to); // the last step that can fail

    if (existing != nodes_.end()) {
        nodes_.erase(existing);
    }
    const ptime now = currentTime();
    for (std::size_t i = 0; i < moved.size(); ++i) {
        relocate(moved[i], std::move(newPaths[i]), now);
    }
    oldParent.lastModified = now;
    newParent.lastModified = now;
}

FileAttributes TemplateProvider::doGetFileAttributes(const StorageIRI& iri) const {
    const std::u16string path = pathOf(iri);
    const Lock lock(mutex_);
    const Node& file = requireFile(path, iri)->second;
    const Lock contentLock(file.content->mutex);
    return FileAttributes(file.content->bytes.size(), file.lastModified, file.writable);
}

FolderAttributes TemplateProvider::doGetFolderAttributes(const StorageIRI& iri) const {
    const std::u16string path = pathOf(iri);
    const Lock lock(mutex_);
    const Node& folder = requireFolder(path, iri)->second;
    return FolderAttributes(folder.lastModified, folder.writable);
}

std::unique_ptr<ByteStream> TemplateProvider::doOpenStream(const StorageIRI& iri,
                                                           const ByteStreamOpenOptions& options) const {
    const std::u16string path = pathOf(iri);
    const Lock lock(mutex_);
    const auto found = nodes_.find(path);
    const bool missing = found == nodes_.end();
    if (missing && options.existence == ByteStreamExistence::MustExist) {
        throw Exception(ErrorCode::NotFound, iri);
    }
    if (!missing && found->second.isFolder()) {
        throw Exception(ErrorCode::AlreadyExists, iri);
    }
    if (!missing) {
        requireWritable(found->second, iri);
    }

    auto content = missing ? std::make_shared<FileBytes>() : found->second.content;
    auto stream = std::make_unique<FileStream>(content, options.append);
    const ptime now = currentTime();
    if (missing) {
        add(path, std::move(content), now, iri);
        return stream;
    }
    found->second.lastModified = now; // opening for writing counts as a change; the writes do not
    if (options.content == ByteStreamContent::Empty) {
        const Lock contentLock(content->mutex);
        content->bytes.clear();
    }
    return stream;
}

std::unique_ptr<ByteStream> TemplateProvider::doOpenReadOnlyStream(const StorageIRI& iri) const {
    const std::u16string path = pathOf(iri);
    const Lock lock(mutex_);
    return std::make_unique<FileStream>(requireFile(path, iri)->second.content,
                                        ByteStreamAppend::WriteAtPosition);
}

std::unique_ptr<IFolderEntryIterator> TemplateProvider::doListAll(const StorageIRI& iri) const {
    return std::make_unique<Listing>(entriesOf(iri));
}

std::unique_ptr<IFolderEntryIterator> TemplateProvider::doListFiles(const StorageIRI& iri) const {
    return std::make_unique<Listing>(only(FolderEntry::EntryType::File, entriesOf(iri)));
}

std::unique_ptr<IFolderEntryIterator> TemplateProvider::doListFolders(const StorageIRI& iri) const {
    return std::make_unique<Listing>(only(FolderEntry::EntryType::Folder, entriesOf(iri)));
}

// The setters ignore the writable flag; otherwise a read-only entry could never become writable again.
void TemplateProvider::doSetLastModified(const StorageIRI& iri, const ptime& time) const {
    const std::u16string path = pathOf(iri);
    const Lock lock(mutex_);
    require(path, iri)->second.lastModified = time;
}

void TemplateProvider::doSetWritable(const StorageIRI& iri, bool writable) const {
    const std::u16string path = pathOf(iri);
    const Lock lock(mutex_);
    require(path, iri)->second.writable = writable;
}

bool TemplateProvider::doHasFeature(const ExtendedFeature& feature) const {
    // YOUR STORAGE: claim VolatileStorage only if the content is lost with the provider object.
    return feature == ExtendedFeature::VolatileStorage;
}

TemplateProvider::Nodes::iterator TemplateProvider::require(const std::u16string& path,
                                                            const StorageIRI& named) const {
    const auto node = nodes_.find(path);
    if (node == nodes_.end()) {
        throw Exception(ErrorCode::NotFound, named);
    }
    return node;
}

TemplateProvider::Nodes::iterator TemplateProvider::requireFile(const std::u16string& path,
                                                                const StorageIRI& named) const {
    const auto node = require(path, named);
    if (node->second.isFolder()) {
        throw Exception(ErrorCode::NotFound, named);
    }
    return node;
}

TemplateProvider::Nodes::iterator TemplateProvider::requireFolder(const std::u16string& path,
                                                                  const StorageIRI& named) const {
    const auto node = require(path, named);
    if (!node->second.isFolder()) {
        throw Exception(ErrorCode::NotFound, named);
    }
    return node;
}

Node& TemplateProvider::requireParent(const std::u16string& path, const StorageIRI& named) const {
    if (path.empty()) {
        throw Exception(ErrorCode::NotFound, named); // the root has no parent folder
    }
    return requireFolder(parentOf(path), named)->second;
}

bool TemplateProvider::isEmpty(const std::u16string& folder) const {
    const std::u16string prefix = prefixOf(folder);
    const auto first = nodes_.lower_bound(prefix);
    return first == nodes_.end() || !isBelow(first->first, prefix);
}

std::vector<TemplateProvider::Nodes::iterator>
TemplateProvider::nodesFrom(const std::u16string& folder) const {
    std::vector<Nodes::iterator> nodes{nodes_.find(folder)};
    const std::u16string prefix = prefixOf(folder);
    auto node = nodes_.lower_bound(prefix);
    for (; node != nodes_.end() && isBelow(node->first, prefix); ++node) {
        nodes.push_back(node);
    }
    return nodes;
}

std::vector<FolderEntry> TemplateProvider::entriesOf(const StorageIRI& iri) const {
    using EntryType = FolderEntry::EntryType;
    const std::u16string path = pathOf(iri);
    const std::u16string prefix = prefixOf(path);
    std::vector<FolderEntry> entries;
    const Lock lock(mutex_);
    requireFolder(path, iri);
    auto node = nodes_.lower_bound(prefix);
    for (; node != nodes_.end() && isBelow(node->first, prefix); ++node) {
        std::u16string name = node->first.substr(prefix.size());
        if (name.find(u'/') == std::u16string::npos) { // else it is in a folder below
            entries.emplace_back(std::move(name),
                                 node->second.isFolder() ? EntryType::Folder : EntryType::File);
        }
    }
    return entries;
}

} // namespace provider_template
