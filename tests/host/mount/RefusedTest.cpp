#include "host/mount/Refused.h"
#include "hostapi/storage/provider/Exception.h"
#include "tests/host/mount/ErrnoOf.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <new>
#include <stdexcept>

namespace {

using foundation::storage::provider::ErrorCode;
using foundation::storage::provider::Exception;
using foundation::storage::provider::StorageIRI;
using storage::host::Refused;

template <typename Thrown>
int errnoOfThrown(const Thrown& thrown) {
    return errnoOf([&] { throw thrown; });
}

int errnoOfCode(ErrorCode code) {
    return errnoOfThrown(Exception(code, StorageIRI(u"/f")));
}

TEST(RefusedTest, EveryFailureOfAStorageHasANumber) {
    EXPECT_EQ(errnoOfCode(ErrorCode::FolderNotEmpty), ENOTEMPTY);
    EXPECT_EQ(errnoOfCode(ErrorCode::ReadOnly), EACCES);
    EXPECT_EQ(errnoOfCode(ErrorCode::AlreadyExists), EEXIST);
    EXPECT_EQ(errnoOfCode(ErrorCode::NotFound), ENOENT);
    EXPECT_EQ(errnoOfCode(ErrorCode::NotOffered), EOPNOTSUPP);
}

TEST(RefusedTest, ACodeThatNobodyKnowsIsAnErrorOfInputOrOutput) {
    EXPECT_EQ(errnoOfCode(static_cast<ErrorCode>(1)), EIO);
    EXPECT_EQ(errnoOfCode(static_cast<ErrorCode>(77)), EIO);
    EXPECT_EQ(errnoOfCode(static_cast<ErrorCode>(-1)), EIO);
}

TEST(RefusedTest, WhatIsRefusedHasTheNumberItWasRefusedWith) {
    EXPECT_EQ(errnoOfThrown(Refused(ENOSPC)), ENOSPC);
    EXPECT_EQ(errnoOfThrown(Refused(EISDIR)), EISDIR);
    EXPECT_STREQ(Refused(ENOSPC).what(), "No space left on device");
}

TEST(RefusedTest, EveryOtherExceptionHasANumberToo) {
    EXPECT_EQ(errnoOfThrown(std::bad_alloc()), ENOMEM);
    EXPECT_EQ(errnoOfThrown(std::length_error("too long")), EFBIG);
    EXPECT_EQ(errnoOfThrown(std::runtime_error("the tape is torn")), EIO);
    EXPECT_EQ(errnoOfThrown(42), EIO);
}

} // namespace
