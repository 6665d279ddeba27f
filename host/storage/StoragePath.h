#pragma once

#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/StorageIRI.h"

#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace storage::host {

/// An absolute path of a storage in canonical form: "/", or names joined by single slashes, with "." and
/// ".." resolved. In a session with several storages the path also has the name of its storage; paths of
/// different storages are never equal. A value.
class StoragePath {
public:
    /// Shared by all paths of one storage, and compared by its address. Null where there is only one storage.
    using StorageName = std::shared_ptr<const std::u16string>;

    /// The root folder.
    StoragePath() : text_(u"/") {}
    explicit StoragePath(StorageName storage) : storage_(std::move(storage)), text_(u"/") {}

    /// Resolves `text` relative to `base`, in the same storage. ".." of the root is the root.
    static StoragePath resolve(const StoragePath& base, std::u16string_view text);

    const StorageName& storage() const noexcept { return storage_; }

    /// The root folder of the same storage.
    StoragePath root() const { return StoragePath(storage_); }

    bool isRoot() const noexcept { return text_.size() == 1; }

    /// The last name; empty for the root.
    std::u16string_view name() const noexcept;

    /// The parent folder; the root for the root.
    StoragePath parent() const;

    /// The entry `name` in this folder. The name is not resolved.
    StoragePath child(std::u16string_view name) const;

    /// Whether `other` is this entry or a descendant of it.
    bool contains(const StoragePath& other) const noexcept;

    /// This path after `from` has been renamed to `to`. `from` must be this path or an ancestor of it.
    StoragePath rebased(const StoragePath& from, const StoragePath& to) const;

    /// Without the name of the storage.
    const std::u16string& text() const noexcept { return text_; }

    /// "/path", or "NAME:/path" if the storage has a name.
    std::u16string displayed() const;

    /// The path as displayed, escaped for one line of a message.
    std::string printed() const;

    provider::StorageIRI iri() const;

    bool operator==(const StoragePath&) const = default;

private:
    void enter(std::u16string_view name);
    void leave();

    StorageName storage_;
    std::u16string text_;
};

} // namespace storage::host
