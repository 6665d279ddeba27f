#include "inmemoryprovider/filesystem/PathSeqLock.h"

#include "inmemoryprovider/filesystem/PathHash.h"
#include "inmemoryprovider/filesystem/SpinWait.h"

#include <algorithm>

namespace storage::inmemoryprovider {

PathSeqLock::Place::Place(std::u16string_view text) noexcept
    : length(text.size()), path(hashOf(text)), parent(hashOf(InMemoryEntryPath::parentOf(text))) {}

void PathSeqLock::SharedPlace::store(const Place& place) noexcept {
    length.store(place.length, std::memory_order_release);
    path.store(place.path, std::memory_order_release);
    parent.store(place.parent, std::memory_order_release);
}

bool PathSeqLock::SharedPlace::concerns(std::u16string_view reader, Scope scope) const noexcept {
    const std::size_t prefix = length.load(std::memory_order_acquire);
    const bool mayBeWithin = reader.size() == prefix || (reader.size() > prefix && reader[prefix] == u'/');
    if (mayBeWithin && hashOf(reader.substr(0, prefix)) == path.load(std::memory_order_acquire)) {
        return true;
    }
    return scope == Scope::Folder && hashOf(reader) == parent.load(std::memory_order_acquire);
}

PathSeqLock::Change::Change(PathSeqLock& lock, const InMemoryEntryPath& source,
                            const InMemoryEntryPath& target) noexcept
    : lock_(lock) {
    lock_.begin(Place(source.view()), Place(target.view()));
}

PathSeqLock::Change::Change(PathSeqLock& lock, const InMemoryEntryPath& path) noexcept : lock_(lock) {
    const Place place(path.view());
    lock_.begin(place, place);
}

PathSeqLock::Change::~Change() {
    lock_.end();
}

void PathSeqLock::waitForEndOf(Number number) const noexcept {
    waitWhileEqual(sequence_, number);
}

bool PathSeqLock::changeConcerns(std::u16string_view path, Scope scope) const noexcept {
    return std::any_of(places_.begin(), places_.end(),
                       [&](const SharedPlace& place) { return place.concerns(path, scope); });
}

void PathSeqLock::begin(const Place& source, const Place& target) noexcept {
    places_[0].store(source);
    places_[1].store(target);
    sequence_.store(sequence_.load(std::memory_order_relaxed) + 1, std::memory_order_release);
}

void PathSeqLock::end() noexcept {
    sequence_.store(sequence_.load(std::memory_order_relaxed) + 1);
    wakeWaiters(sequence_);
}

} // namespace storage::inmemoryprovider
