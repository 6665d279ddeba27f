#pragma once

#include "host/process/CheckOutcome.h"

#include <gtest/gtest.h>

#include <string>

inline void expectVerdict(const storage::host::CheckOutcome& outcome, storage::host::CheckResult result,
                          const std::string& reason) {
    EXPECT_EQ(outcome.verdict.result, result) << outcome.verdict.reason;
    EXPECT_EQ(outcome.verdict.reason, reason);
}
