#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace storage::host {

class CheckContext;

namespace checks {

/// Random changes of a tree in the check's folder, and a model of the tree. Each change has exactly one
/// allowed result: it changes nothing read-only except flags, and no entry exists at its
/// destination.
///
/// Borrows the context. Not thread-safe.
class RandomTree {
public:
    explicit RandomTree(CheckContext& context);
    RandomTree(const RandomTree&) = delete;
    RandomTree& operator=(const RandomTree&) = delete;
    /// Makes everything writable, so that it can be removed.
    ~RandomTree();

    /// Makes one change. @throws whatever the provider throws
    void change();

    /// @throws RuleBroken when names, kinds, bytes, flags or times differ from the model
    void compare() const;

private:
    using Path = std::u16string; ///< relative to the check's folder, which is the empty path
    using Time = boost::posix_time::ptime;

    /// An entry of the model.
    struct Entry {
        bool isFolder;
        bool writable = true;
        std::string bytes = {};
        std::optional<Time> time = {}; ///< the time that was set, unless the entry has changed since
    };
    using Entries = std::map<Path, Entry>;

    std::size_t below(std::size_t limit) const;
    static Path parentOf(const Path& path);
    static bool isBelow(const Path& path, const Path& folder);
    std::size_t randomSize() const;
    std::string randomBytes() const;
    std::optional<Path> pick(bool folder) const;
    std::optional<Path> freePath() const;
    bool isChangeable(const Path& path) const;
    void noteChangeIn(const Path& folder);

    void create(bool folder);
    void write(const Path& file);
    void truncate(const Path& file);
    void copy(const Path& file);
    void remove(const Path& path);
    void move(const Path& path);
    void setFlag(const Path& path);
    void setTime(const Path& path);

    CheckContext& context_;
    std::vector<std::u16string> names_; ///< names that the storage accepts
    Entries entries_;
};

} // namespace checks

} // namespace storage::host
