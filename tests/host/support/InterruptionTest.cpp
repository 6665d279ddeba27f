#include "host/support/Interruption.h"
#include "tests/support/DefaultSignals.h"

#include <csignal>
#include <gtest/gtest.h>

namespace storage::tests {

namespace {

using host::Interrupted;
using host::Interruption;

TEST(InterruptionTest, ReportsASignalUntilItIsCleared) {
    const DefaultSignals defaultSignals;
    Interruption interruption;
    interruption.check();
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        std::raise(signal);
        EXPECT_EQ(interruption.pending(), signal);
        EXPECT_THROW(interruption.check(), Interrupted);
        interruption.clear();
        interruption.check();
    }
}

TEST(InterruptionTest, KeepsIgnoredSignalsIgnored) {
    const auto before = std::signal(SIGHUP, SIG_IGN);
    {
        const Interruption interruption;
        std::raise(SIGHUP);
        EXPECT_EQ(interruption.pending(), 0);
    }
    EXPECT_EQ(std::signal(SIGHUP, before), SIG_IGN);
}

} // namespace

} // namespace storage::tests
