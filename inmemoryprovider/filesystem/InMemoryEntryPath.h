#pragma once

#include <cstring>
#include <functional>
#include <string>
#include <string_view>

namespace storage::inmemoryprovider {

/// The full path of an entry: UTF-16 code units with "/" as separator.
///
/// Owns one text. Construction normalises its two ends; nothing else is changed or rejected: separators
/// inside stay as they are, "." and ".." are names like others, letter case and Unicode composition
/// distinguish. "/" is the root; the empty path is its parent.
///
/// Not thread-safe; concurrent reading is safe.
class InMemoryEntryPath {
public:
    /// Normalises `text`: removes one "/" from its end. Then, if a run of "/" begins at the second code unit,
    /// removes as many code units from the beginning as the run is long. So "///a/" becomes "/a". The first
    /// code unit is not examined, so "a/b" becomes "/b". Texts of fewer than 2 code units are not changed.
    explicit InMemoryEntryPath(std::u16string text) noexcept;

    /// The path with exactly this text, which is normalised already: normalising it again could change it.
    static InMemoryEntryPath ofNormalText(std::u16string_view text);

    /// The text of the path that is constructed from `text`, as a view into `text`. For lookups without an
    /// allocation.
    static std::u16string_view normalView(std::u16string_view text) noexcept;

    /// The text of the parent of the path with the text `path`, as a view into `path`.
    static std::u16string_view parentOf(std::u16string_view path) noexcept;

    /// A copy of the text.
    std::u16string string() const { return text_; }

    /// The text itself, valid as long as this object is neither changed nor destroyed.
    std::u16string_view view() const noexcept { return text_; }

    /// The path of the folder this entry belongs to: the text before the last "/", normalised. "/" for an
    /// entry of the root; empty for the root and for a text without "/".
    InMemoryEntryPath parentPath() const;

    /// The text of `parentPath`, as a view into this text, valid as long as `view`.
    std::u16string_view parentView() const noexcept { return parentOf(text_); }

    /// Whether there is a "/" in the text; false for the root.
    bool hasParent() const noexcept;

    /// The text after the last "/"; "/" for the root, the whole text if there is no "/".
    std::u16string filename() const { return std::u16string(filenameView()); }

    /// As `filename`, but reuses the memory of this path.
    std::u16string takeFilename() && noexcept;

    /// The text of `filename`, as a view into this text, valid as long as `view`.
    std::u16string_view filenameView() const noexcept;

    /// Appends "/" and `name` in normal form, and returns this path. The whole is not normalised again, so
    /// the root with "b" appended is "//b".
    /// @throws std::bad_alloc with the path unchanged
    InMemoryEntryPath& append(std::u16string name);

    /// A copy of this path with `name` appended, in one allocation.
    /// @throws std::bad_alloc
    InMemoryEntryPath appended(std::u16string_view name) const;

    /// Whether this is `folder` itself or an entry at any depth below it.
    bool isWithin(const InMemoryEntryPath& folder) const;

    /// Same length and same code units.
    bool operator==(const InMemoryEntryPath& other) const noexcept { return *this == other.view(); }
    bool operator==(std::u16string_view text) const noexcept {
        return text_.size() == text.size() &&
               std::memcmp(text_.data(), text.data(), text.size() * sizeof(char16_t)) == 0;
    }

    /// By unsigned code units; a prefix of a text sorts before the text.
    bool operator<(const InMemoryEntryPath& other) const noexcept { return isBefore(text_, other.text_); }

    /// The order of `operator<`, for texts.
    static bool isBefore(std::u16string_view left, std::u16string_view right) noexcept;

private:
    std::u16string text_;
};

} // namespace storage::inmemoryprovider

/// Allows maps keyed by path to be searched by text, without constructing a path.
template <>
struct std::less<storage::inmemoryprovider::InMemoryEntryPath> {
    using Path = storage::inmemoryprovider::InMemoryEntryPath;
    using is_transparent = void;

    bool operator()(const Path& left, const Path& right) const noexcept { return left < right; }
    bool operator()(const Path& left, std::u16string_view right) const noexcept {
        return Path::isBefore(left.view(), right);
    }
    bool operator()(std::u16string_view left, const Path& right) const noexcept {
        return Path::isBefore(left, right.view());
    }
};
