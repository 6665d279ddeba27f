#pragma once

#include "benchmarks/stores/Ability.h"
#include "benchmarks/stores/Store.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace storage::benchmark {

/// The floor: the minimum cost of a tree. One hash map of paths with one mutex. Each folder has a linked list
/// of its children, for listing. Moving a folder changes the key of every descendant.
///
/// The mutex guards everything. Invariants: the address of a node is stable when its key changes; an entry is
/// in the list of its parent; its key begins with the key of its parent.
class HashMapStore final : public Store {
public:
    static Abilities abilities();

    HashMapStore();

    void prepare(const std::vector<std::string>& paths) override;
    void createFolder(PathIndex path) override;
    void createFile(PathIndex path) override;
    std::uint64_t fileSize(PathIndex path) override;
    bool exists(PathIndex path) override;
    ListingSummary list(PathIndex folder) override;
    void moveFile(PathIndex from, PathIndex to) override;
    void moveFolder(PathIndex from, PathIndex to) override;
    void removeFile(PathIndex path) override;
    void readFile(PathIndex path, char* buffer, std::size_t count) override;
    void overwriteFile(PathIndex path, const char* bytes, std::size_t count) override;
    std::unique_ptr<Stream> createStream(PathIndex path, std::uint64_t size) override;
    std::unique_ptr<Stream> openToOverwrite(PathIndex path) override;
    std::unique_ptr<Stream> openToRead(PathIndex path) override;

private:
    struct Node {
        EntryKind kind = EntryKind::File;
        bool writable = true;
        std::int64_t lastModified = 0;
        const std::string* path = nullptr; ///< the node's key
        Node* firstChild = nullptr;
        Node* previous = nullptr; ///< in the list of the parent's children
        Node* next = nullptr;
        std::unique_ptr<std::vector<char>> content; ///< allocated by the first write
    };

    struct PathHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view path) const { return std::hash<std::string_view>()(path); }
    };

    using Nodes = std::unordered_map<std::string, Node, PathHash, std::equal_to<>>;

    class NodeStream;

    Node& find(std::string_view path);
    Node& parentOf(std::string_view path);
    Node& create(const std::string& path, EntryKind kind);
    void link(Node& node);
    void unlink(Node& node);
    void rekey(Node& node, std::string path);
    void move(const std::string& from, const std::string& to);

    std::mutex mutex_;
    Nodes nodes_;
    std::vector<std::string> paths_;
};

} // namespace storage::benchmark
