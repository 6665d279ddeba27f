#include "hostapi/core/except/IException.h"

#include "hostapi/core/except/IInternalException.h"
#include "tests/support/VtableSlot.h"

#include <boost/exception/all.hpp>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <utility>

namespace storage::tests {

using foundation::core::except::IException;
using foundation::core::except::IInternalException;

namespace {

class ExceptionWithMessage : public IInternalException {
public:
    explicit ExceptionWithMessage(std::u16string message) : message_(std::move(message)) {}

    const boost::exception_detail::clone_base* clone() const override {
        return new ExceptionWithMessage(*this);
    }
    [[noreturn]] void rethrow() const override { throw ExceptionWithMessage(*this); }
    std::u16string getMessage() const override { return message_; }

private:
    std::u16string message_;
};

using Detail = boost::error_info<struct DetailTag, int>;

std::unique_ptr<const boost::exception_detail::clone_base> cloneOf(const IException& exception) {
    return std::unique_ptr<const boost::exception_detail::clone_base>(exception.clone());
}

TEST(IExceptionTest, HasItsOperationsInTheOrderOfTheAbi) {
    using ToUtf8 = std::string (IException::*)(const std::u16string&) const;
    using ToUtf16 = std::u16string (IException::*)(const std::string&) const;
    EXPECT_EQ(vtableSlot(&IException::clone), 0);
    EXPECT_EQ(vtableSlot(&IException::rethrow), 1);
    EXPECT_EQ(vtableSlot(&IException::what), 4);
    EXPECT_EQ(vtableSlot(static_cast<ToUtf8>(&IException::convert_str)), 5);
    EXPECT_EQ(vtableSlot(static_cast<ToUtf16>(&IException::convert_str)), 6);
    EXPECT_EQ(vtableSlot(&IException::getMessage), 7);
}

TEST(IExceptionTest, BeginsWithItsCloneableBase) {
    static_assert(std::is_base_of_v<boost::exception, IException>);
    const ExceptionWithMessage exception(u"text");
    const boost::exception_detail::clone_base* base = &exception;
    EXPECT_EQ(static_cast<const void*>(base), static_cast<const void*>(&exception));
}

TEST(IExceptionTest, ReturnsItsMessageInUtf8) {
    EXPECT_EQ(ExceptionWithMessage(u"caf\u00e9 \U0001F600").what(), "caf\xc3\xa9 \xf0\x9f\x98\x80");
}

TEST(IExceptionTest, ReturnsItsMessageEvenIfIllFormed) {
    EXPECT_EQ(ExceptionWithMessage(u"a\xd800").what(), "a\xef\xbf\xbd");
}

TEST(IExceptionTest, ConvertsTextBothWays) {
    const ExceptionWithMessage exception(u"");
    EXPECT_EQ(exception.convert_str(std::u16string(u"\u20ac\xdc00")), "\xe2\x82\xac\xef\xbf\xbd");
    EXPECT_EQ(exception.convert_str(std::string("\xe2\x82\xac\xff")), u"\u20ac\ufffd");
}

TEST(IExceptionTest, ClonesAnObjectOfUnknownClass) {
    auto original = std::make_unique<ExceptionWithMessage>(u"text");
    const auto copy = cloneOf(*original);
    original.reset();
    const auto* exception = dynamic_cast<const ExceptionWithMessage*>(copy.get());
    ASSERT_NE(exception, nullptr);
    EXPECT_EQ(exception->getMessage(), u"text");
}

TEST(IExceptionTest, IsRethrownWithItsOwnClass) {
    const ExceptionWithMessage original(u"text");
    const IException& known = original;
    try {
        known.rethrow();
        FAIL() << "nothing was thrown";
    } catch (const ExceptionWithMessage& caught) {
        EXPECT_NE(&caught, &original);
        EXPECT_EQ(caught.getMessage(), u"text");
    }
}

TEST(IExceptionTest, IsCaughtByEachOfItsBases) {
    const ExceptionWithMessage exception(u"text");
    EXPECT_THROW(exception.rethrow(), IInternalException);
    EXPECT_THROW(exception.rethrow(), IException);
    EXPECT_THROW(exception.rethrow(), boost::exception);
}

TEST(IExceptionTest, SharesItsErrorInformationWithItsCopies) {
    ExceptionWithMessage original(u"text");
    original << Detail(42);
    const ExceptionWithMessage copy(original);
    const auto clone = cloneOf(copy);
    EXPECT_EQ(boost::get_error_info<Detail>(copy), boost::get_error_info<Detail>(original));
    const auto& cloned = dynamic_cast<const ExceptionWithMessage&>(*clone);
    ASSERT_NE(boost::get_error_info<Detail>(cloned), nullptr);
    EXPECT_EQ(*boost::get_error_info<Detail>(cloned), 42);
}

TEST(IExceptionTest, KeepsItsErrorInformationForItsCopies) {
    auto original = std::make_unique<ExceptionWithMessage>(u"text");
    *original << Detail(42);
    const ExceptionWithMessage copy(*original);
    original.reset();
    ASSERT_NE(boost::get_error_info<Detail>(copy), nullptr);
    EXPECT_EQ(*boost::get_error_info<Detail>(copy), 42);
}

} // namespace

} // namespace storage::tests
