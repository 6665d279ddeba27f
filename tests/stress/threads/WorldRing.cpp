#include "tests/stress/threads/WorldRing.h"

namespace storage::stress {

WorldRing::WorldRing() {
    for (auto& world : worlds_) {
        world = build();
    }
}

std::shared_ptr<const World> WorldRing::any(Random& random) const {
    const std::size_t chosen = onceIn(2, random) ? 0 : pick(random, worlds_.size());
    const std::lock_guard lock(mutex_);
    return worlds_[chosen];
}

void WorldRing::replaceOne(Random& random) {
    auto world = build(); // receives the replaced one, and destroys it after the lock is released
    const std::size_t chosen = 1 + pick(random, worlds_.size() - 1);
    const std::lock_guard lock(mutex_);
    worlds_[chosen].swap(world);
}

std::vector<std::shared_ptr<const World>> WorldRing::all() const {
    const std::lock_guard lock(mutex_);
    return {worlds_.begin(), worlds_.end()};
}

std::shared_ptr<const World> WorldRing::build() {
    ++built_;
    return std::make_shared<const World>();
}

} // namespace storage::stress
