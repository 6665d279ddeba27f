#pragma once

#include "tests/stress/size/Storage.h"

namespace storage::stress {

/// Creates, moves, lists, removes and destroys a very deep tree on a small stack. The stack overflows if
/// stack use grows with the depth.
///
/// Owns the provider. Not thread-safe.
class DeepTree {
public:
    /// @throws Violation
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
