#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <memory>

namespace storage::stress {

/// A provider shared by several threads. The last owner shuts it down and destroys it.
class World {
public:
    World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;
    ~World();

    const provider::IProvider& provider() const { return *provider_; }

private:
    std::shared_ptr<provider::IProvider> provider_;
};

} // namespace storage::stress
