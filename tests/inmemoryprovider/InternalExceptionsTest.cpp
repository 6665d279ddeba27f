#include "inmemoryprovider/EntryExistsException.h"
#include "inmemoryprovider/EntryNotFoundException.h"
#include "inmemoryprovider/FolderNotEmptyException.h"
#include "inmemoryprovider/ReadOnlyException.h"

#include <boost/exception/all.hpp>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>

namespace storage::inmemoryprovider::internal_exceptions_test {
namespace {

using foundation::core::except::IInternalException;

const InMemoryEntryPath path(u"/a/b");

TEST(InternalExceptionsTest, HaveTheirMessages) {
    EXPECT_EQ(EntryNotFoundException(path).getMessage(), u"Entry /a/b could not be found");
    EXPECT_EQ(EntryExistsException(path).getMessage(), u"Entry /a/b already exists");
    EXPECT_EQ(ReadOnlyException(path).getMessage(), u"Entry /a/b is read-only.");
    EXPECT_EQ(FolderNotEmptyException(path).getMessage(), u"Entry /a/b is not empty");
}

TEST(InternalExceptionsTest, ReturnTheirMessageInUtf8) {
    EXPECT_EQ(EntryNotFoundException(InMemoryEntryPath(u"/\u00E9\U0001F600\xD800")).what(),
              "Entry /\u00E9\U0001F600\uFFFD could not be found");
}

TEST(InternalExceptionsTest, ConvertBetweenUtf8AndUtf16) {
    const ReadOnlyException exception(path);
    EXPECT_EQ(exception.convert_str(std::u16string(u"\u00E9\xDC00")), "\u00E9\uFFFD");
    EXPECT_EQ(exception.convert_str(std::string("\u00E9\xFF")), u"\u00E9\uFFFD");
}

template <class Concrete>
class EachInternalExceptionTest : public testing::Test {};

using Classes =
    testing::Types<EntryNotFoundException, EntryExistsException, ReadOnlyException, FolderNotEmptyException>;
TYPED_TEST_SUITE(EachInternalExceptionTest, Classes);

TYPED_TEST(EachInternalExceptionTest, IsClonedWithItsType) {
    const TypeParam original(path);
    const std::unique_ptr<const boost::exception_detail::clone_base> clone(original.clone());
    const auto* concrete = dynamic_cast<const TypeParam*>(clone.get());
    ASSERT_NE(concrete, nullptr);
    EXPECT_EQ(concrete->getMessage(), original.getMessage());
}

TYPED_TEST(EachInternalExceptionTest, IsRethrownWithItsType) {
    const TypeParam original(path);
    const IInternalException& base = original;
    EXPECT_THROW(base.rethrow(), TypeParam);
}

TYPED_TEST(EachInternalExceptionTest, SharesItsErrorInformationWithItsClones) {
    using Info = boost::error_info<struct Tag, int>;
    TypeParam original(path);
    original << Info(42);
    const std::unique_ptr<const boost::exception_detail::clone_base> clone(original.clone());
    const int* info = boost::get_error_info<Info>(dynamic_cast<const TypeParam&>(*clone));
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info, boost::get_error_info<Info>(original));
}

TYPED_TEST(EachInternalExceptionTest, IsBuiltWithoutThrowing) {
    EXPECT_TRUE((std::is_nothrow_constructible_v<TypeParam, const InMemoryEntryPath&>));
}

} // namespace
} // namespace storage::inmemoryprovider::internal_exceptions_test
