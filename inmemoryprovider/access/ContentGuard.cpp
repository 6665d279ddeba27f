#include "inmemoryprovider/access/ContentGuard.h"

#include <array>
#include <functional>

namespace storage::inmemoryprovider {

namespace {

using Bytes = std::vector<std::uint8_t>;

struct GuardedContent {
    Bytes bytes;
    std::mutex mutex;
};

/// Also the mark by which a shared pointer to bytes is known to come from here.
struct GuardedContentDeleter {
    GuardedContent* content;

    void operator()(GuardedContent* released) const { delete released; }
};

/// A vector made elsewhere has no room for a mutex, so its address chooses one. Two such vectors may then
/// share a mutex, which costs time but is safe, for no operation holds two content mutexes.
std::mutex& guardOfForeign(const Bytes* bytes) noexcept {
    static std::array<std::mutex, 64> guards;
    return guards[std::hash<const Bytes*>()(bytes) / alignof(Bytes) % guards.size()];
}

} // namespace

std::shared_ptr<Bytes> makeGuardedContent() {
    auto content = std::make_unique<GuardedContent>();
    const GuardedContentDeleter deleter{content.get()};
    const std::shared_ptr<GuardedContent> guarded(content.release(), deleter);
    return {guarded, &guarded->bytes};
}

std::mutex& guardOf(const std::shared_ptr<Bytes>& content) noexcept {
    const auto* deleter = std::get_deleter<GuardedContentDeleter>(content);
    if (deleter != nullptr && &deleter->content->bytes == content.get()) {
        return deleter->content->mutex;
    }
    return guardOfForeign(content.get());
}

} // namespace storage::inmemoryprovider
