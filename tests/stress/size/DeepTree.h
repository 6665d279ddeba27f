#pragma once

#include "tests/stress/size/Storage.h"

namespace storage::stress {

/// Folders inside one another, many levels deep, that are made, moved, listed, removed and destroyed on a
/// small stack, which overflows if any of it takes stack for each level.
///
/// Owns the provider. Thread safety: for one thread.
class DeepTree {
public:
    /// @throws Fault
    void run();

private:
    void tryEverything();
    void create(const std::u16string& top);
    void move();
    void list();
    void remove();
    void destroy();

    std::shared_ptr<IProvider> provider_ = newProvider();
};

} // namespace storage::stress
