#include "hostapi/storage/provider/Exception.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <gtest/gtest.h>

#include <exception>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace storage::tests {

using provider::ErrorCode;
using provider::Exception;
using provider::StorageIRI;

namespace {

TEST(ExceptionTest, ReturnsItsCodeAndLocation) {
    const StorageIRI iri(u"/mounted/f", u"/f", true);
    const Exception exception(ErrorCode::ReadOnly, iri);
    EXPECT_EQ(exception.getErrorCode(), ErrorCode::ReadOnly);
    EXPECT_EQ(exception.getIRI(), iri);
}

TEST(ExceptionTest, DescribesPathAndReason) {
    const auto textFor = [](ErrorCode code) {
        return std::string(Exception(code, StorageIRI(u"/a/f")).what());
    };
    EXPECT_EQ(textFor(ErrorCode::FolderNotEmpty), "/a/f: folder is not empty");
    EXPECT_EQ(textFor(ErrorCode::ReadOnly),
              "/a/f: read-only: this entry, or another one that the operation changes");
    EXPECT_EQ(textFor(ErrorCode::AlreadyExists),
              "/a/f: already exists, or is in the folder that is to be moved");
    EXPECT_EQ(textFor(ErrorCode::NotFound),
              "/a/f: not found: an entry of the required kind, or the folder that would hold it");
    EXPECT_EQ(textFor(ErrorCode::NotOffered), "/a/f: this provider does not offer the operation");
}

TEST(ExceptionTest, ContainsTheCallersPathInUtf8) {
    const Exception exception(ErrorCode::FolderNotEmpty, StorageIRI(u"/mounted/x", u"/\u00e9\xd800", true));
    EXPECT_STREQ(exception.what(), "/\xc3\xa9\xef\xbf\xbd: folder is not empty");
}

TEST(ExceptionTest, HasATextForCodesWithoutAName) {
    const Exception exception(static_cast<ErrorCode>(99), StorageIRI(u"/f"));
    EXPECT_EQ(exception.getErrorCode(), static_cast<ErrorCode>(99));
    EXPECT_STREQ(exception.what(), "/f: unknown error (code 99)");
}

TEST(ExceptionTest, DescribesACodeWithoutALocation) {
    EXPECT_STREQ(Exception::describe(ErrorCode::FolderNotEmpty), "folder is not empty");
}

TEST(ExceptionTest, SharesItsStateWithItsCopies) {
    static_assert(std::is_nothrow_copy_constructible_v<Exception>);
    static_assert(std::is_nothrow_copy_assignable_v<Exception>);
    const Exception original(ErrorCode::NotFound, StorageIRI(u"/f"));
    const std::vector<Exception> copies(2, original);
    Exception assigned(ErrorCode::ReadOnly, StorageIRI(u"/g"));
    assigned = original;
    EXPECT_EQ(&copies.front().getIRI(), &original.getIRI());
    EXPECT_EQ(copies.back().what(), original.what());
    EXPECT_EQ(assigned.what(), original.what());
    EXPECT_EQ(assigned.getErrorCode(), ErrorCode::NotFound);
}

TEST(ExceptionTest, SharesItsLocationWithItsCopies) {
    std::optional<Exception> original(std::in_place, ErrorCode::NotFound, StorageIRI(u"/f"));
    const Exception copy(*original);
    const StorageIRI& iri = original->getIRI();
    original.reset();
    EXPECT_EQ(iri, StorageIRI(u"/f"));
    EXPECT_EQ(&copy.getIRI(), &iri);
}

TEST(ExceptionTest, IsAStandardException) {
    try {
        throw Exception(ErrorCode::FolderNotEmpty, StorageIRI(u"/f"));
    } catch (const std::exception& exception) {
        EXPECT_STREQ(exception.what(), "/f: folder is not empty");
    }
}

} // namespace

} // namespace storage::tests
