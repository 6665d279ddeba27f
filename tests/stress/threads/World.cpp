#include "tests/stress/threads/World.h"

#include "inmemoryprovider/PluginEntry.h"

namespace storage::stress {

World::World() {
    buildProvider_V1(&provider_);
}

World::~World() {
    provider_->doShutdown();
}

} // namespace storage::stress
