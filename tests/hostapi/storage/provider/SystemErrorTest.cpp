#include "hostapi/storage/provider/SystemError.h"

#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

namespace storage::tests {

using namespace provider;
using testing::AllOf;
using testing::Property;
using testing::Throws;
using testing::ThrowsMessage;

namespace {

const StorageIRI failingLocation(u"/resolved/\u00e9", u"/\u00e9", true);

TEST(SystemErrorTest, DescribesLocationAndReason) {
    const SystemError error(EIO, failingLocation);
    EXPECT_EQ(error.getIRI(), failingLocation);
    EXPECT_EQ(error.code(), std::errc::io_error);
    EXPECT_STREQ(error.what(), "/\xc3\xa9: Input/output error");
}

TEST(SystemErrorTest, SharesItsLocationWithItsCopies) {
    static_assert(std::is_nothrow_copy_constructible_v<SystemError>);
    static_assert(std::is_nothrow_copy_assignable_v<SystemError>);
    std::optional<SystemError> original(std::in_place, EIO, failingLocation);
    const SystemError copy(*original);
    SystemError assigned(ENOSPC, StorageIRI(u"/g"));
    assigned = *original;
    original.reset();
    EXPECT_EQ(copy.getIRI(), failingLocation);
    EXPECT_EQ(assigned.getIRI(), failingLocation);
    EXPECT_EQ(assigned.code(), std::errc::io_error);
}

TEST(ThrowSystemErrorTest, ThrowsErrorCodesForStorageErrors) {
    const std::pair<int, ErrorCode> codes[] = {
        {ENOENT, ErrorCode::NotFound},          {ENOTDIR, ErrorCode::NotFound},
        {EISDIR, ErrorCode::NotFound},          {ENAMETOOLONG, ErrorCode::NotFound},
        {EILSEQ, ErrorCode::NotFound},          {EEXIST, ErrorCode::AlreadyExists},
        {ENOTEMPTY, ErrorCode::FolderNotEmpty}, {EROFS, ErrorCode::ReadOnly},
    };
    for (const auto& [error, code] : codes) {
        EXPECT_THAT([number = error] { throwSystemError(number, failingLocation); },
                    Throws<Exception>(AllOf(Property(&Exception::getErrorCode, code),
                                            Property(&Exception::getIRI, failingLocation))))
            << error;
    }
}

TEST(ThrowSystemErrorTest, ThrowsStandardExceptions) {
    EXPECT_THROW(throwSystemError(ENOMEM, failingLocation), std::bad_alloc);
    EXPECT_THAT([] { throwSystemError(EFBIG, failingLocation); },
                ThrowsMessage<std::length_error>("/\xc3\xa9: a file cannot have that many bytes"));
}

TEST(ThrowSystemErrorTest, ThrowsAllOthersWithTheirErrno) {
    for (const int error : {EIO, EACCES, EPERM, ENOSPC, EMFILE, ETIMEDOUT}) {
        EXPECT_THAT([error] { throwSystemError(error, failingLocation); },
                    Throws<SystemError>(
                        AllOf(Property(&SystemError::code, std::error_code(error, std::generic_category())),
                              Property(&SystemError::getIRI, failingLocation))));
    }
}

} // namespace

} // namespace storage::tests
