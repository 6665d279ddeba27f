#pragma once

#include "hostapi/storage/provider/FolderEntry.h"
#include "hostapi/storage/provider/IFolderEntryIterator.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/RequireNonNull.h"
#include "hostapi/storage/provider/StorageIRI.h"

#include <cstddef>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace foundation::storage::provider {

/// The entries of a listing as a range, for one pass: `for (const FolderEntry& entry : list(provider, iri))`.
///
/// Owns the listing and the current entry; iterators borrow the range. It must be destroyed before the
/// library that made the listing is unloaded.
///
/// Not thread-safe.
class ListingRange {
public:
    /// An input iterator. All iterators of a range share its position in the listing.
    class Iterator {
    public:
        using iterator_category = std::input_iterator_tag; ///< for one pass
        using value_type = FolderEntry;                    ///< an entry
        using difference_type = std::ptrdiff_t;            ///< required of iterators, never used
        using pointer = const FolderEntry*;                ///< valid until the next step
        using reference = const FolderEntry&;              ///< valid until the next step

        /// The end of every range.
        Iterator() = default;

        /// The current entry.
        /// @return a reference that is valid until the next step
        reference operator*() const { return *range_->entry_; }

        /// The current entry.
        /// @return a pointer that is valid until the next step
        pointer operator->() const { return &*range_->entry_; }

        /// Moves to the next entry.
        /// @return this iterator
        Iterator& operator++() {
            range_ = range_->advance() ? range_ : nullptr;
            return *this;
        }

        /// Moves to the next entry. Returns nothing, because no iterator can stay at this one.
        void operator++(int) { ++*this; }

        /// Whether both or neither are at the end.
        /// @param other  an iterator of the same range
        /// @return whether they are equal
        bool operator==(const Iterator& other) const noexcept { return range_ == other.range_; }

        /// Whether exactly one of them is at the end.
        /// @param other  an iterator of the same range
        /// @return whether they differ
        bool operator!=(const Iterator& other) const noexcept { return !(*this == other); }

    private:
        friend class ListingRange;
        explicit Iterator(ListingRange* range) noexcept : range_(range) {}

        ListingRange* range_ = nullptr;
    };

    /// @param listing  any listing of a provider, for example that of `doListFilesWildcards`
    /// @throws std::runtime_error when it is null
    explicit ListingRange(std::unique_ptr<IFolderEntryIterator> listing)
        : listing_(requireNonNull(std::move(listing), "listing")) {}

    /// The next entry. A second call does not restart the listing.
    /// @return an iterator; the end when no entry is left
    Iterator begin() { return Iterator(advance() ? this : nullptr); }

    /// Past the last entry.
    /// @return an iterator that compares equal to another one that has reached the end
    static Iterator end() noexcept { return Iterator(); }

private:
    bool advance() {
        if (!listing_->hasNext()) {
            return false;
        }
        listing_->step();
        entry_.emplace(listing_->getEntry());
        return true;
    }

    std::unique_ptr<IFolderEntryIterator> listing_;
    std::optional<FolderEntry> entry_;
};

/// The files and folders in a folder, as a range.
/// @param provider  the storage
/// @param iri       a folder
/// @return the entries, in the order of `doListAll`
/// @throws Exception `NotFound` when no folder exists there
/// @throws std::runtime_error when the provider returns no listing
inline ListingRange list(const IProvider& provider, const StorageIRI& iri) {
    return ListingRange(provider.doListAll(iri));
}

/// All remaining entries of a listing.
/// @param listing  any listing of a provider
/// @return the entries, in the order of the listing
/// @throws std::runtime_error when `listing` is null
inline std::vector<FolderEntry> readEntries(std::unique_ptr<IFolderEntryIterator> listing) {
    ListingRange range(std::move(listing));
    return std::vector<FolderEntry>(range.begin(), range.end());
}

} // namespace foundation::storage::provider
