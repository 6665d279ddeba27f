#include "host/mount/ChangeGate.h"

#include "host/mount/ErrnoError.h"
#include "tests/host/mount/ErrnoOf.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace storage::tests {

namespace {

using host::ChangeGate;

int resultOf(ChangeGate& gate, ChangeGate::Origin origin) {
    return errnoOf([&] { const ChangeGate::Passage passage(gate, origin); });
}

TEST(ChangeGateTest, AdmitsAllChangesWhileOpen) {
    ChangeGate gate;
    for (const bool wasClosed : {false, true}) {
        EXPECT_FALSE(gate.isClosed());
        EXPECT_EQ(resultOf(gate, ChangeGate::Origin::Program), 0) << wasClosed;
        EXPECT_EQ(resultOf(gate, ChangeGate::Origin::KernelCache), 0) << wasClosed;
        EXPECT_EQ(gate.lateChanges(), 0U) << wasClosed;
        gate.close();
        gate.open();
    }
}

TEST(ChangeGateTest, RefusesProgramsAndCountsTheKernelWhileClosed) {
    ChangeGate gate;
    gate.close();
    EXPECT_TRUE(gate.isClosed());
    EXPECT_EQ(resultOf(gate, ChangeGate::Origin::Program), EROFS);
    EXPECT_EQ(gate.lateChanges(), 0U);
    EXPECT_EQ(resultOf(gate, ChangeGate::Origin::KernelCache), 0);
    EXPECT_EQ(resultOf(gate, ChangeGate::Origin::KernelCache), 0);
    EXPECT_EQ(gate.lateChanges(), 2U);
}

} // namespace

} // namespace storage::tests
