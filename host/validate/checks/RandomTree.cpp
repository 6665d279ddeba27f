#include "host/validate/checks/RandomTree.h"

#include "host/support/Utf.h"
#include "host/validate/kit/CheckContext.h"
#include "host/validate/kit/Expectations.h"
#include "host/validate/kit/Policies.h"
#include "host/validate/kit/StreamSteps.h"
#include "host/validate/kit/Times.h"
#include "hostapi/storage/provider/ListingRange.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>

namespace storage::host::checks {

using namespace provider;

RandomTree::RandomTree(CheckContext& context) : context_(context) {
    for (const char16_t* name : {u"a", u"Mixed.TXT", u"\u00D6l", u".d", u"e.txt", u"f f", u"g.h.i",
                                 u"jjjjjjjjjjjjjjjjjjjjjjjjjjjjjj"}) {
        try {
            context.provider().doCreateFile(context.at(name));
            context.provider().doRemoveFile(context.at(name));
            names_.emplace_back(name);
        } catch (const Exception&) { // the other names are enough
        }
    }
    entries_.emplace(u"", Entry{true});
}

RandomTree::~RandomTree() {
    for (const auto& [path, entry] : entries_) {
        try {
            context_.provider().doSetWritable(context_.at(path), true);
        } catch (...) { // after a failure, the entry may be elsewhere
        }
    }
}

std::size_t RandomTree::below(std::size_t limit) const {
    return context_.random()() % limit;
}

RandomTree::Path RandomTree::parentOf(const Path& path) {
    const std::size_t separator = path.rfind(u'/');
    return separator == Path::npos ? u"" : path.substr(0, separator);
}

bool RandomTree::isBelow(const Path& path, const Path& folder) {
    return path.size() > folder.size() && path.starts_with(folder) && path[folder.size()] == u'/';
}

std::size_t RandomTree::randomSize() const {
    constexpr std::array<std::size_t, 6> sizes{0, 1, 100, 5000, 70'000, 200'000};
    return sizes[below(sizes.size())];
}

std::string RandomTree::randomBytes() const {
    return std::string(randomSize(), static_cast<char>(context_.random()()));
}

/// A random entry of a kind, but not the check's folder.
std::optional<RandomTree::Path> RandomTree::pick(bool folder) const {
    std::vector<Path> paths;
    for (const auto& [path, entry] : entries_) {
        if (entry.isFolder == folder && !path.empty()) {
            paths.push_back(path);
        }
    }
    return paths.empty() ? std::nullopt : std::optional(paths[below(paths.size())]);
}

/// A location without an entry, in a writable folder.
std::optional<RandomTree::Path> RandomTree::freePath() const {
    const Path folder = below(3) == 0 ? u"" : pick(/*folder*/ true).value_or(u"");
    const std::u16string name = names_[below(names_.size())];
    const Path path = folder.empty() ? name : folder + u"/" + name;
    const bool isFree = entries_.at(folder).writable && !entries_.contains(path);
    return isFree && path.size() < 200 ? std::optional(path) : std::nullopt;
}

bool RandomTree::isChangeable(const Path& path) const {
    return entries_.at(path).writable && entries_.at(parentOf(path)).writable;
}

void RandomTree::noteChangeIn(const Path& folder) {
    entries_.at(folder).time.reset();
}

void RandomTree::change() {
    const std::size_t choice = below(16);
    if (choice < 5) {
        return create(/*folder*/ choice < 2);
    }
    const std::optional<Path> file = pick(/*folder*/ false);
    const std::optional<Path> folder = pick(/*folder*/ true);
    if (!file || !folder) {
        return;
    }
    switch (choice) {
    case 5:
    case 6:
        return write(*file);
    case 7:
        return truncate(*file);
    case 8:
        return copy(*file);
    case 9:
        return remove(below(2) == 0 ? *file : *folder);
    case 10:
    case 11:
        return move(*folder);
    case 12:
        return move(*file);
    case 13:
    case 14:
        return setFlag(below(2) == 0 ? *file : *folder);
    default:
        return setTime(below(2) == 0 ? *file : *folder);
    }
}

void RandomTree::create(bool folder) {
    const std::optional<Path> path = freePath();
    if (!path) {
        return;
    }
    Entry entry{folder};
    if (folder) {
        context_.provider().doCreateFolder(context_.at(*path));
    } else {
        entry.bytes = randomBytes();
        makeFile(context_.provider(), context_.at(*path), entry.bytes);
    }
    entries_.emplace(*path, entry);
    noteChangeIn(parentOf(*path));
}

void RandomTree::write(const Path& file) {
    Entry& entry = entries_.at(file);
    if (!entry.writable) {
        return;
    }
    const std::string bytes = randomBytes();
    const std::size_t position = below(entry.bytes.size() + 1);
    const auto stream = openStream(context_.provider(), context_.at(file));
    seekTo(*stream, static_cast<long>(position), std::ios_base::beg);
    writeText(*stream, bytes);
    entry.bytes.replace(position, bytes.size(), bytes);
    entry.time.reset();
}

void RandomTree::truncate(const Path& file) {
    Entry& entry = entries_.at(file);
    if (!entry.writable) {
        return;
    }
    const std::size_t size = randomSize();
    context_.provider().doTruncateToSize(context_.at(file), size);
    entry.bytes.resize(size, '\0');
    entry.time.reset();
}

void RandomTree::copy(const Path& file) {
    if (const std::optional<Path> path = freePath()) {
        context_.provider().doCopyFile(context_.at(file), context_.at(*path), policies::refuse);
        entries_.emplace(*path, Entry{false, true, entries_.at(file).bytes});
        noteChangeIn(parentOf(*path));
    }
}

void RandomTree::remove(const Path& path) {
    const bool isEmpty = std::none_of(entries_.begin(), entries_.end(),
                                      [&](const auto& each) { return isBelow(each.first, path); });
    if (!isEmpty || !isChangeable(path)) {
        return;
    }
    const StorageIRI iri = context_.at(path);
    entries_.at(path).isFolder ? context_.provider().doRemoveFolder(iri)
                               : context_.provider().doRemoveFile(iri);
    entries_.erase(path);
    noteChangeIn(parentOf(path));
}

/// Moves an entry to a free location that is not below it. All folders below it must be writable.
void RandomTree::move(const Path& path) {
    const std::optional<Path> to = freePath();
    const bool isWritable = std::all_of(entries_.begin(), entries_.end(), [&](const auto& each) {
        return !isBelow(each.first, path) || !each.second.isFolder || each.second.writable;
    });
    if (!to || isBelow(*to, path) || !isWritable || !isChangeable(path)) {
        return;
    }
    const bool isFolder = entries_.at(path).isFolder;
    (context_.provider().*(isFolder ? &IProvider::doMoveFolder : &IProvider::doMoveFile))(
        context_.at(path), context_.at(*to), policies::all[below(policies::all.size())]);
    Entries moved;
    for (auto each = entries_.begin(); each != entries_.end();) {
        if (each->first == path || isBelow(each->first, path)) {
            each->second.time.reset();
            moved.emplace(*to + each->first.substr(path.size()), each->second);
            each = entries_.erase(each);
        } else {
            ++each;
        }
    }
    entries_.merge(moved);
    noteChangeIn(parentOf(path));
    noteChangeIn(parentOf(*to));
}

void RandomTree::setFlag(const Path& path) {
    Entry& entry = entries_.at(path);
    entry.writable = !entry.writable;
    context_.provider().doSetWritable(context_.at(path), entry.writable);
    entry.time.reset();
}

void RandomTree::setTime(const Path& path) {
    Entry& entry = entries_.at(path);
    if (entry.writable) {
        entry.time = pastTime() + boost::posix_time::hours(static_cast<long>(below(100'000)));
        context_.provider().doSetLastModified(context_.at(path), *entry.time);
    }
}

void RandomTree::compare() const {
    const IProvider& provider = context_.provider();
    std::size_t listed = 0;
    for (const auto& [path, entry] : entries_) {
        const StorageIRI iri = context_.at(path);
        const std::string shown = fmt::format("after random changes, {}", printable(path));
        const ExtendedAttributes attributes = provider.doGetExtendedAttributes(iri);
        const bool isFolder = attributes.type == FolderEntry::EntryType::Folder;
        expect(provider.doExistsExtended(iri) ==
                   (entry.isFolder ? EntryExistence::Folder : EntryExistence::File),
               shown + " exists as another kind than the model's");
        expect(isFolder == entry.isFolder, shown + " is of another kind than the model's");
        expect(attributes.writable == entry.writable, shown + " has another flag than the model's");
        expect(!entry.time || (attributes.lastModified - *entry.time).abs() <= boost::posix_time::seconds(2),
               shown + " has another time than was set");
        if (isFolder) {
            listed += readEntries(provider.doListAll(iri)).size();
        } else {
            expect(attributes.size == entry.bytes.size() && contentOf(provider, iri) == entry.bytes,
                   shown + " has other bytes than the model's");
        }
    }
    expect(listed + 1 == entries_.size(),
           fmt::format("after random changes, {} entries are listed, not {}", listed, entries_.size() - 1));
}

} // namespace storage::host::checks
