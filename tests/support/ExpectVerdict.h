#pragma once

#include "host/process/CheckOutcome.h"

#include <gtest/gtest.h>

#include <string>

inline void expectVerdict(const storage::host::CheckOutcome& outcome,
                          storage::host::CheckOutcome::Result result, const std::string& reason) {
    EXPECT_EQ(outcome.result, result) << outcome.reason;
    EXPECT_EQ(outcome.reason, reason);
}
