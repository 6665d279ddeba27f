// Opening a file read-only acquires no lock of the tree, even if the file was never written. Here such files
// are opened while they move. The stream does not refuse writes, so all bytes written must be found at the
// end.

#include "hostapi/storage/provider/ReplacementPolicy.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "inmemoryprovider/InMemoryProvider.h"
#include "tests/support/Answer.h"
#include "tests/support/RunTogether.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdint>

namespace storage::inmemoryprovider::tests {
namespace {

using provider::ReplacementPolicy;
using provider::StorageIRI;
using storage::tests::answerOf;

constexpr std::array<const char16_t*, 4> places = {u"/a/f", u"/a/g", u"/b/f", u"/b/g"};

std::uint64_t sizeOfAll(const InMemoryProvider& provider) {
    std::uint64_t size = 0;
    for (const auto* path : places) {
        answerOf([&] { size += provider.doGetFileAttributes(StorageIRI(path)).getSize(); });
    }
    return size;
}

TEST(UnwrittenFileTest, LosesNoByteWhileTheFileAndItsFolderMove) {
    constexpr int rounds = 500;
    constexpr auto refuse = ReplacementPolicy::RefuseExisting;
    for (int round = 0; round < rounds && !testing::Test::HasFailure(); ++round) {
        const InMemoryProvider provider;
        provider.doCreateFolder(StorageIRI(u"/a"));
        provider.doCreateFile(StorageIRI(places[0]));
        std::atomic<std::uint64_t> written = 0;
        const auto write = [&] {
            for (const auto* path : places) {
                answerOf([&] {
                    const auto stream = provider.doOpenReadOnlyStream(StorageIRI(path));
                    // At the end, so that streams do not overwrite each other's bytes.
                    stream->seek(0, std::ios_base::end);
                    written += static_cast<std::uint64_t>(stream->write("x", 1));
                });
            }
        };
        const auto moveFile = [&] {
            for (const auto* folder : {u"/a", u"/b"}) {
                const std::u16string path = folder;
                answerOf(
                    [&] { provider.doMoveFile(StorageIRI(path + u"/f"), StorageIRI(path + u"/g"), refuse); });
                answerOf(
                    [&] { provider.doMoveFile(StorageIRI(path + u"/g"), StorageIRI(path + u"/f"), refuse); });
            }
        };
        const auto moveFolder = [&] {
            provider.doMoveFolder(StorageIRI(u"/a"), StorageIRI(u"/b"), refuse);
            provider.doMoveFolder(StorageIRI(u"/b"), StorageIRI(u"/a"), refuse);
        };
        storage::tests::runTogether({write, moveFile, moveFolder});
        EXPECT_EQ(sizeOfAll(provider), written);
    }
}

} // namespace
} // namespace storage::inmemoryprovider::tests
