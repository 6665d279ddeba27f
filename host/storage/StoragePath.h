#pragma once

#include "hostapi/storage/provider/StorageIRI.h"

#include <string>
#include <string_view>

namespace storage::host {

/// An absolute path of the storage in canonical form: "/", or names joined by single slashes, with "." and
/// ".." resolved. A value.
class StoragePath {
public:
    /// The root folder.
    StoragePath() : text_(u"/") {}

    /// Resolves `text` relative to `base`. ".." of the root is the root.
    static StoragePath resolve(const StoragePath& base, std::u16string_view text);

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

    const std::u16string& text() const noexcept { return text_; }

    /// The path, escaped for one line of a message.
    std::string printed() const;

    foundation::storage::provider::StorageIRI iri() const;

    bool operator==(const StoragePath&) const = default;

private:
    void enter(std::u16string_view name);
    void leave();

    std::u16string text_;
};

} // namespace storage::host
