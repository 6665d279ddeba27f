#include "inmemoryprovider/filesystem/SpinThenBlockLock.h"

#include "inmemoryprovider/filesystem/SpinWait.h"

namespace storage::inmemoryprovider {

SpinThenBlockLock::SpinThenBlockLock(std::mutex& mutex) : mutex_(mutex) {
    if (!spinTryLock(mutex_)) {
        mutex_.lock();
    }
}

} // namespace storage::inmemoryprovider
