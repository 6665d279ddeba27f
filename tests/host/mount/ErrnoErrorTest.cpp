#include "host/mount/ErrnoError.h"
#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/SystemError.h"
#include "tests/host/mount/ErrnoOf.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <new>
#include <stdexcept>

namespace storage::tests {

namespace {

using host::ErrnoError;
using provider::ErrorCode;
using provider::Exception;
using provider::StorageIRI;
using provider::SystemError;

template <typename Thrown>
int errnoOfThrown(const Thrown& thrown) {
    return errnoOf([&] { throw thrown; });
}

int errnoOfCode(ErrorCode code) {
    return errnoOfThrown(Exception(code, StorageIRI(u"/f")));
}

TEST(ErrnoErrorTest, MapsEachErrorCodeOfAProvider) {
    EXPECT_EQ(errnoOfCode(ErrorCode::FolderNotEmpty), ENOTEMPTY);
    EXPECT_EQ(errnoOfCode(ErrorCode::ReadOnly), EACCES);
    EXPECT_EQ(errnoOfCode(ErrorCode::AlreadyExists), EEXIST);
    EXPECT_EQ(errnoOfCode(ErrorCode::NotFound), ENOENT);
    EXPECT_EQ(errnoOfCode(ErrorCode::NotOffered), EOPNOTSUPP);
}

TEST(ErrnoErrorTest, MapsUnknownErrorCodesToEio) {
    EXPECT_EQ(errnoOfCode(static_cast<ErrorCode>(1)), EIO);
    EXPECT_EQ(errnoOfCode(static_cast<ErrorCode>(77)), EIO);
    EXPECT_EQ(errnoOfCode(static_cast<ErrorCode>(-1)), EIO);
}

TEST(ErrnoErrorTest, KeepsItsNumber) {
    EXPECT_EQ(errnoOfThrown(ErrnoError(ENOSPC)), ENOSPC);
    EXPECT_EQ(errnoOfThrown(ErrnoError(EISDIR)), EISDIR);
    EXPECT_STREQ(ErrnoError(ENOSPC).what(), "No space left on device");
}

TEST(ErrnoErrorTest, KeepsTheNumberOfASystemError) {
    EXPECT_EQ(errnoOfThrown(SystemError(ENOSPC, StorageIRI(u"/f"))), ENOSPC);
    EXPECT_EQ(errnoOfThrown(SystemError(EHOSTDOWN, StorageIRI(u"/f"))), EHOSTDOWN);
}

TEST(ErrnoErrorTest, MapsAllOtherExceptions) {
    EXPECT_EQ(errnoOfThrown(std::bad_alloc()), ENOMEM);
    EXPECT_EQ(errnoOfThrown(std::length_error("too long")), EFBIG);
    EXPECT_EQ(errnoOfThrown(std::runtime_error("the tape is torn")), EIO);
    EXPECT_EQ(errnoOfThrown(42), EIO);
}

} // namespace

} // namespace storage::tests
