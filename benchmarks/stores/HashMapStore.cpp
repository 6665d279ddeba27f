#include "benchmarks/stores/HashMapStore.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace storage::benchmark {

namespace {

std::int64_t now() {
    return std::chrono::system_clock::now().time_since_epoch().count();
}

void overwrite(std::vector<char>& content, std::size_t position, const char* bytes, std::size_t count) {
    const std::size_t inside = std::min(count, content.size() - position);
    std::memcpy(content.data() + position, bytes, inside);
    content.insert(content.end(), bytes + inside, bytes + count);
}

void copy(const std::vector<char>* content, std::uint64_t offset, char* buffer, std::size_t count) {
    if (content == nullptr || offset + count > content->size()) {
        throw std::runtime_error("the hash map has less than was to be read");
    }
    std::memcpy(buffer, content->data() + offset, count);
}

} // namespace

class HashMapStore::NodeStream final : public Stream {
public:
    NodeStream(std::mutex& mutex, Node& node) : mutex_(mutex), node_(node) {
        if (!node_.content) {
            node_.content = std::make_unique<std::vector<char>>();
        }
    }

    void write(const char* bytes, std::size_t count) override {
        const std::lock_guard lock(mutex_);
        overwrite(*node_.content, position_, bytes, count);
        position_ += count;
        node_.lastModified = now();
    }

    void read(char* buffer, std::size_t count) override {
        readAt(position_, buffer, count);
        position_ += count;
    }

    void readAt(std::uint64_t offset, char* buffer, std::size_t count) override {
        const std::lock_guard lock(mutex_);
        copy(node_.content.get(), offset, buffer, count);
    }

private:
    std::mutex& mutex_;
    Node& node_;
    std::size_t position_ = 0;
};

Abilities HashMapStore::abilities() {
    return {Ability::Create,        Ability::Attributes,
            Ability::Exists,        Ability::List,
            Ability::MoveFile,      Ability::MoveFolder,
            Ability::Remove,        Ability::ReadFile,
            Ability::OverwriteFile, Ability::Append,
            Ability::Write,         Ability::OverwriteInPlace,
            Ability::Read,          Ability::ChangeTreeInThreads,
            Ability::LiveInProcess};
}

HashMapStore::HashMapStore() {
    const auto root = nodes_.try_emplace("").first;
    root->second.kind = EntryKind::Folder;
    root->second.path = &root->first;
}

void HashMapStore::prepare(const std::vector<std::string>& paths) {
    paths_ = paths;
}

HashMapStore::Node& HashMapStore::find(std::string_view path) {
    const auto found = nodes_.find(path);
    if (found == nodes_.end()) {
        throw std::runtime_error("the hash map has no " + std::string(path));
    }
    return found->second;
}

HashMapStore::Node& HashMapStore::parentOf(std::string_view path) {
    return find(path.substr(0, path.rfind('/')));
}

void HashMapStore::link(Node& node) {
    Node& parent = parentOf(*node.path);
    node.previous = nullptr;
    node.next = parent.firstChild;
    if (node.next != nullptr) {
        node.next->previous = &node;
    }
    parent.firstChild = &node;
    parent.lastModified = node.lastModified;
}

void HashMapStore::unlink(Node& node) {
    Node& parent = parentOf(*node.path);
    (node.previous == nullptr ? parent.firstChild : node.previous->next) = node.next;
    if (node.next != nullptr) {
        node.next->previous = node.previous;
    }
    parent.lastModified = now();
}

HashMapStore::Node& HashMapStore::create(const std::string& path, EntryKind kind) {
    const auto [entry, isNew] = nodes_.try_emplace(path);
    if (!isNew) {
        throw std::runtime_error("the hash map has already " + path);
    }
    Node& node = entry->second;
    node.kind = kind;
    node.lastModified = now();
    node.path = &entry->first;
    link(node);
    return node;
}

void HashMapStore::createFolder(PathIndex path) {
    const std::lock_guard lock(mutex_);
    create(paths_[path], EntryKind::Folder);
}

void HashMapStore::createFile(PathIndex path) {
    const std::lock_guard lock(mutex_);
    create(paths_[path], EntryKind::File);
}

std::uint64_t HashMapStore::fileSize(PathIndex path) {
    const std::lock_guard lock(mutex_);
    const Node& node = find(paths_[path]);
    return node.content ? node.content->size() : 0;
}

bool HashMapStore::exists(PathIndex path) {
    const std::lock_guard lock(mutex_);
    return nodes_.contains(paths_[path]);
}

ListingSummary HashMapStore::list(PathIndex folder) {
    ListingSummary summary;
    const std::lock_guard lock(mutex_);
    const Node& node = find(paths_[folder]);
    const std::size_t prefix = node.path->size() + 1;
    for (const Node* child = node.firstChild; child != nullptr; child = child->next) {
        summary.add(child->path->data() + prefix, child->path->size() - prefix, child->kind);
    }
    return summary;
}

void HashMapStore::rekey(Node& node, std::string path) {
    auto handle = nodes_.extract(nodes_.find(*node.path));
    handle.key() = std::move(path);
    node.path = &nodes_.insert(std::move(handle)).position->first;
}

void HashMapStore::move(const std::string& from, const std::string& to) {
    if (nodes_.contains(to)) {
        throw std::runtime_error("the hash map has already " + to);
    }
    Node& top = find(from);
    unlink(top);
    std::vector<Node*> left{&top};
    while (!left.empty()) {
        Node& node = *left.back();
        left.pop_back();
        for (Node* child = node.firstChild; child != nullptr; child = child->next) {
            left.push_back(child);
        }
        rekey(node, to + node.path->substr(from.size()));
    }
    top.lastModified = now();
    link(top);
}

void HashMapStore::moveFile(PathIndex from, PathIndex to) {
    const std::lock_guard lock(mutex_);
    move(paths_[from], paths_[to]);
}

void HashMapStore::moveFolder(PathIndex from, PathIndex to) {
    moveFile(from, to);
}

void HashMapStore::removeFile(PathIndex path) {
    const std::lock_guard lock(mutex_);
    const auto entry = nodes_.find(paths_[path]);
    if (entry == nodes_.end()) {
        throw std::runtime_error("the hash map has no " + paths_[path]);
    }
    unlink(entry->second);
    nodes_.erase(entry);
}

void HashMapStore::readFile(PathIndex path, char* buffer, std::size_t count) {
    const std::lock_guard lock(mutex_);
    copy(find(paths_[path]).content.get(), 0, buffer, count);
}

void HashMapStore::overwriteFile(PathIndex path, const char* bytes, std::size_t count) {
    const std::lock_guard lock(mutex_);
    Node& node = find(paths_[path]);
    if (!node.content) {
        node.content = std::make_unique<std::vector<char>>();
    }
    overwrite(*node.content, 0, bytes, count);
    node.lastModified = now();
}

std::unique_ptr<Stream> HashMapStore::createStream(PathIndex path, std::uint64_t /*size*/) {
    const std::lock_guard lock(mutex_);
    return std::make_unique<NodeStream>(mutex_, create(paths_[path], EntryKind::File));
}

std::unique_ptr<Stream> HashMapStore::openToOverwrite(PathIndex path) {
    return openToRead(path);
}

std::unique_ptr<Stream> HashMapStore::openToRead(PathIndex path) {
    const std::lock_guard lock(mutex_);
    return std::make_unique<NodeStream>(mutex_, find(paths_[path]));
}

} // namespace storage::benchmark
