#include "inmemoryprovider/filesystem/SpinThenBlockLock.h"

#include "inmemoryprovider/filesystem/SpinWait.h"

namespace storage::inmemoryprovider {

SpinThenBlockLock::SpinThenBlockLock(std::mutex& mutex) : mutex_(mutex) {
    for (int spin = 0; spin < spinLimit; ++spin) {
        if (mutex_.try_lock()) {
            return;
        }
        spinHint();
    }
    mutex_.lock();
}

} // namespace storage::inmemoryprovider
