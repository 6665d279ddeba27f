#include "hostapi/storage/provider/RequireNonNull.h"

#include <gmock/gmock.h>

using foundation::storage::provider::requireNonNull;
using testing::ThrowsMessage;

TEST(RequireNonNullTest, ReturnsTheObject) {
    auto object = std::make_unique<int>(42);
    const int* const address = object.get();
    EXPECT_EQ(requireNonNull(std::move(object), "stream").get(), address);
}

TEST(RequireNonNullTest, ThrowsForNull) {
    EXPECT_THAT([] { requireNonNull(std::unique_ptr<int>(), "listing"); },
                ThrowsMessage<std::runtime_error>("the plug-in returned no listing"));
}
