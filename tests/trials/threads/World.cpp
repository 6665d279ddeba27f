#include "tests/trials/threads/World.h"

#include "inmemoryprovider/PluginEntry.h"

namespace storage::trials {

World::World() {
    buildProvider_V1(&provider_);
}

World::~World() {
    provider_->doShutdown();
}

} // namespace storage::trials
