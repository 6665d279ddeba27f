#include "hostapi/storage/provider/ByteStreamOpenOptions.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace storage::tests {

using namespace provider;

namespace {

std::array<std::int32_t, 4> fieldsOf(const ByteStreamOpenOptions& options) {
    std::array<std::int32_t, 4> fields{};
    static_assert(sizeof(fields) == sizeof(options));
    std::memcpy(fields.data(), &options, sizeof(options));
    return fields;
}

TEST(ByteStreamOpenOptionsTest, HasFourNumbersInTheOrderOfTheAbi) {
    const ByteStreamOpenOptions options{.hint = 7,
                                        .existence = ByteStreamExistence::MustExist,
                                        .content = ByteStreamContent::Empty,
                                        .append = ByteStreamAppend::AppendAtEnd};
    EXPECT_EQ(fieldsOf(options), (std::array<std::int32_t, 4>{7, 1, 0, 0}));
}

TEST(ByteStreamOpenOptionsTest, CreatesAMissingFileAndKeepsAnExistingOneByDefault) {
    EXPECT_EQ(fieldsOf({}), (std::array<std::int32_t, 4>{0, 0, 1, 1}));
}

TEST(ByteStreamOpenOptionsTest, HasNamesForCommonCombinations) {
    EXPECT_EQ(fieldsOf(ByteStreamOpenOptions::readWriteExisting()),
              (std::array<std::int32_t, 4>{0, 1, 1, 1}));
    EXPECT_EQ(fieldsOf(ByteStreamOpenOptions::createOrEmpty()), (std::array<std::int32_t, 4>{0, 0, 0, 1}));
    EXPECT_EQ(fieldsOf(ByteStreamOpenOptions::createOrAppend()), (std::array<std::int32_t, 4>{0, 0, 1, 0}));
    static_assert(std::is_aggregate_v<ByteStreamOpenOptions>);
    static_assert(ByteStreamOpenOptions::createOrEmpty().content == ByteStreamContent::Empty);
}

} // namespace

} // namespace storage::tests
