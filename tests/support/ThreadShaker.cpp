#include "tests/support/ThreadShaker.h"

#include <sched.h>

#include <random>

namespace storage::tests {

namespace {

thread_local std::minstd_rand choice;

constexpr unsigned unlockingsPerYield = 4;

void yieldAtTimes() {
    if (choice() % unlockingsPerYield == 0) {
        sched_yield();
    }
}

} // namespace

ThreadShaker::ThreadShaker() : hook_(yieldAtTimes) {}

} // namespace storage::tests
