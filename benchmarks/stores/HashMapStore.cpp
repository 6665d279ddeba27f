#include "benchmarks/stores/Store.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

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
        throw std::runtime_error("hash map: incomplete read");
    }
    std::memcpy(buffer, content->data() + offset, count);
}

struct Node {
    EntryKind kind = EntryKind::File;
    std::int64_t lastModified = 0;
    const std::string* path = nullptr; ///< the node's key
    Node* firstChild = nullptr;
    Node* previous = nullptr; ///< in the list of the parent's children
    Node* next = nullptr;
    std::unique_ptr<std::vector<char>> content; ///< allocated by the first write

    std::vector<char>& writableContent() {
        if (!content) {
            content = std::make_unique<std::vector<char>>();
        }
        return *content;
    }
};

class NodeStream final : public Stream {
public:
    NodeStream(std::mutex& mutex, Node& node, Use use)
        : mutex_(mutex), node_(node), position_(use == Use::Append ? node.writableContent().size() : 0) {}

    void write(const char* bytes, std::size_t count) override {
        const std::lock_guard lock(mutex_);
        overwrite(node_.writableContent(), position_, bytes, count);
        position_ += count;
        node_.lastModified = now();
    }

    void readAt(std::uint64_t offset, char* buffer, std::size_t count) override {
        const std::lock_guard lock(mutex_);
        copy(node_.content.get(), offset, buffer, count);
    }

private:
    std::mutex& mutex_;
    Node& node_;
    std::size_t position_; ///< of the next write
};

/// One hash map of paths with one mutex. Each folder has a linked list of its children, for listing. Moving a
/// folder changes the key of every descendant.
///
/// The mutex guards everything. Invariants: the address of a node is stable when its key changes; an entry is
/// in the list of its parent; its key begins with the key of its parent.
class HashMapStore final : public StringPathStore {
public:
    explicit HashMapStore(const Paths& paths) : StringPathStore(paths) {
        const auto root = nodes_.try_emplace("").first;
        root->second.kind = EntryKind::Folder;
        root->second.path = &root->first;
    }

    void createFolder(PathIndex index) override {
        const std::lock_guard lock(mutex_);
        create(path(index), EntryKind::Folder);
    }

    void createFile(PathIndex index) override {
        const std::lock_guard lock(mutex_);
        create(path(index), EntryKind::File);
    }

    std::uint64_t fileSize(PathIndex index) override {
        const std::lock_guard lock(mutex_);
        const Node& node = find(path(index));
        return node.content ? node.content->size() : 0;
    }

    bool exists(PathIndex index) override {
        const std::lock_guard lock(mutex_);
        return nodes_.contains(path(index));
    }

    ListingSummary list(PathIndex folder) override {
        ListingSummary summary;
        const std::lock_guard lock(mutex_);
        const Node& node = find(path(folder));
        const std::size_t prefix = node.path->size() + 1;
        for (const Node* child = node.firstChild; child != nullptr; child = child->next) {
            summary.add(child->path->data() + prefix, child->path->size() - prefix, child->kind);
        }
        return summary;
    }

    void moveFile(PathIndex from, PathIndex to) override {
        const std::lock_guard lock(mutex_);
        move(path(from), path(to));
    }

    void moveFolder(PathIndex from, PathIndex to) override { moveFile(from, to); }

    void removeFile(PathIndex index) override {
        const std::lock_guard lock(mutex_);
        const auto entry = nodes_.find(path(index));
        if (entry == nodes_.end()) {
            throw std::runtime_error(path(index) + ": not in the hash map");
        }
        unlink(entry->second);
        nodes_.erase(entry);
    }

    void readFile(PathIndex index, char* buffer, std::size_t count) override {
        const std::lock_guard lock(mutex_);
        copy(find(path(index)).content.get(), 0, buffer, count);
    }

    void overwriteFile(PathIndex index, const char* bytes, std::size_t count) override {
        const std::lock_guard lock(mutex_);
        Node& node = find(path(index));
        overwrite(node.writableContent(), 0, bytes, count);
        node.lastModified = now();
    }

    std::unique_ptr<Stream> open(PathIndex index, Use use, std::uint64_t /*size*/) override {
        const std::lock_guard lock(mutex_);
        Node& node = use == Use::Create ? create(path(index), EntryKind::File) : find(path(index));
        return std::make_unique<NodeStream>(mutex_, node, use);
    }

private:
    struct PathHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view path) const { return std::hash<std::string_view>()(path); }
    };

    using Nodes = std::unordered_map<std::string, Node, PathHash, std::equal_to<>>;

    std::mutex mutex_;
    Nodes nodes_;

    Node& find(std::string_view path) {
        const auto found = nodes_.find(path);
        if (found == nodes_.end()) {
            throw std::runtime_error(std::string(path) + ": not in the hash map");
        }
        return found->second;
    }

    Node& parentOf(std::string_view path) { return find(path.substr(0, path.rfind('/'))); }

    void link(Node& node) {
        Node& parent = parentOf(*node.path);
        node.previous = nullptr;
        node.next = parent.firstChild;
        if (node.next != nullptr) {
            node.next->previous = &node;
        }
        parent.firstChild = &node;
        parent.lastModified = node.lastModified;
    }

    void unlink(Node& node) {
        Node& parent = parentOf(*node.path);
        (node.previous == nullptr ? parent.firstChild : node.previous->next) = node.next;
        if (node.next != nullptr) {
            node.next->previous = node.previous;
        }
        parent.lastModified = now();
    }

    Node& create(const std::string& path, EntryKind kind) {
        const auto [entry, isNew] = nodes_.try_emplace(path);
        if (!isNew) {
            throw std::runtime_error(path + ": already in the hash map");
        }
        Node& node = entry->second;
        node.kind = kind;
        node.lastModified = now();
        node.path = &entry->first;
        link(node);
        return node;
    }

    void rekey(Node& node, std::string path) {
        auto handle = nodes_.extract(nodes_.find(*node.path));
        handle.key() = std::move(path);
        node.path = &nodes_.insert(std::move(handle)).position->first;
    }

    void move(const std::string& from, const std::string& to) {
        if (nodes_.contains(to)) {
            throw std::runtime_error(to + ": already in the hash map");
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
};

} // namespace

StoreKind hashMapKind() {
    return {"floor",
            "",
            {Ability::Tree, Ability::ChangeFiles, Ability::MoveFolder, Ability::Write,
             Ability::OverwriteInPlace, Ability::LiveInProcess},
            [](const Paths& paths) { return std::make_unique<HashMapStore>(paths); }};
}

} // namespace storage::benchmark
