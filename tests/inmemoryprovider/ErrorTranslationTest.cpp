#include "inmemoryprovider/ErrorTranslation.h"

#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <optional>
#include <string>

namespace storage::inmemoryprovider::error_translation_test {
namespace {

using provider::Exception;
using provider::StorageIRI;

const InMemoryEntryPath path(u"/somewhere");
const StorageIRI source(u"/source");
const StorageIRI destination(u"/destination");

/// The exception that a translation throws: "4 source" for a host error, "same" for an exception that passes
/// unchanged.
template <class Internal>
std::string outcome(const ErrorTranslation& translation) {
    try {
        translation.run(source, destination, [] { throw Internal(path); });
    } catch (const Exception& error) {
        return std::to_string(static_cast<int>(error.getErrorCode())) +
               (error.getIRI() == source ? " source" : " destination");
    } catch (const Internal&) {
        return "same";
    }
    return "nothing";
}

struct Row {
    const char* operation;
    ErrorTranslation translation;
    const char* notFound;
    const char* exists;
    const char* readOnly;
    const char* notEmpty;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.operation;
}

class TranslationTest : public testing::TestWithParam<Row> {};

TEST_P(TranslationTest, ThrowsTheHostsCodeAndLocation) {
    const Row& row = GetParam();
    EXPECT_EQ(outcome<EntryNotFoundException>(row.translation), row.notFound);
    EXPECT_EQ(outcome<EntryExistsException>(row.translation), row.exists);
    EXPECT_EQ(outcome<ReadOnlyException>(row.translation), row.readOnly);
    EXPECT_EQ(outcome<FolderNotEmptyException>(row.translation), row.notEmpty);
}

INSTANTIATE_TEST_SUITE_P(
    ErrorTranslation, TranslationTest,
    testing::Values(
        Row{"create", translations::create, "4 source", "3 source", "2 source", "same"},
        Row{"removeFile", translations::removeFile, "4 source", "same", "2 source", "same"},
        Row{"removeFolder", translations::removeFolder, "4 source", "same", "2 source", "0 source"},
        Row{"openStream", translations::openStream, "4 source", "3 source", "2 source", "same"},
        Row{"openReadOnlyStream", translations::openReadOnlyStream, "4 source", "same", "same", "same"},
        Row{"getAttributes", translations::getAttributes, "4 source", "same", "same", "same"},
        Row{"moveFile", translations::moveFile, "4 source", "3 destination", "2 source", "same"},
        Row{"moveFolder", translations::moveFolder, "4 source", "3 destination", "2 source",
            "3 destination"}),
    [](const auto& row) { return std::string(row.param.operation); });

TEST(ErrorTranslationTest, PropagatesOtherExceptions) {
    EXPECT_THROW(translations::create.run(source, [] { throw std::bad_alloc(); }), std::bad_alloc);
    EXPECT_THROW(translations::create.run(source, [] { throw 7; }), int);
}

TEST(ErrorTranslationTest, ReturnsResults) {
    EXPECT_EQ(translations::getAttributes.run(source, [] { return 7; }), 7);
}

} // namespace
} // namespace storage::inmemoryprovider::error_translation_test
