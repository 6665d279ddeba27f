#include "benchmarks/core_operations/Files.h"
#include "benchmarks/core_operations/Operations.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/stress/Violation.h"

#include <array>
#include <iterator>
#include <memory>

namespace storage::core_operations {

using provider::ByteStream;
using provider::ByteStreamAppend;
using provider::ByteStreamExistence;
using provider::ByteStreamOpenOptions;
using stress::requireThat;

namespace {

constexpr unsigned fileCount = 1000;
constexpr ByteStreamOpenOptions existing{.existence = ByteStreamExistence::MustExist};

using Block = std::array<char, 4096>;

constexpr Block blockOf(char content) {
    Block block{};
    block.fill(content);
    return block;
}

/// Creates files of one block each.
Scattered createFilled(const IProvider& storage, const Block& content) {
    createFolder(storage, u"/files");
    Scattered files = scatteredFiles(u"/files", fileCount);
    for (const auto& file : files) {
        storage.doOpenStream(file, {})->write(content.data(), std::ssize(content));
    }
    return files;
}

} // namespace

Measurement readFile(const IProvider& storage) {
    constexpr char content = 7;
    const Scattered files = createFilled(storage, blockOf(content));
    const auto sum = std::make_shared<long>(0);
    return {fileCount,
            [&storage, files, sum] {
                Block block;
                for (const auto& file : files) {
                    block.back() = 0;
                    *sum += storage.doOpenReadOnlyStream(file)->read(block.data(), std::ssize(block));
                    *sum += block.back();
                }
            },
            [sum] {
                const long expected = fileCount * (std::ssize(Block()) + content);
                requireThat(*sum == expected, "bytes read and last bytes sum up to ", *sum, ", not ",
                            expected);
            }};
}

Measurement overwriteFile(const IProvider& storage) {
    const Scattered files = createFilled(storage, blockOf('a'));
    return {
        fileCount,
        [&storage, files] {
            const Block block = blockOf('b');
            for (const auto& file : files) {
                storage.doOpenStream(file, existing)->write(block.data(), std::ssize(block));
            }
        },
        [&storage, files] {
            Block block;
            for (const auto& file : files) {
                const auto size = storage.doOpenReadOnlyStream(file)->read(block.data(), std::ssize(block));
                requireThat(size == std::ssize(block) && block == blockOf('b'), "a file was not overwritten");
            }
        }};
}

namespace {

// The file grows from empty to 6.4 MB. The count includes the cost of reallocation.
Measurement appendThroughStream(const IProvider& storage, ByteStreamAppend mode) {
    constexpr unsigned appends = 100'000;
    constexpr long recordSize = 64;
    const StorageIRI file(u"/log");
    storage.doCreateFile(file);
    const std::shared_ptr<ByteStream> log = storage.doOpenStream(file, {.append = mode});
    return {appends,
            [log] {
                const Block block = blockOf('b');
                for (unsigned turn = 0; turn < appends; ++turn) {
                    log->write(block.data(), recordSize);
                }
            },
            [&storage, file] {
                const auto size = storage.doGetFileAttributes(file).getSize();
                requireThat(size == appends * recordSize, "the file has ", size, " bytes");
            }};
}

} // namespace

Measurement appendToFile(const IProvider& storage) {
    return appendThroughStream(storage, ByteStreamAppend::AppendAtEnd);
}

Measurement appendAtPosition(const IProvider& storage) {
    return appendThroughStream(storage, ByteStreamAppend::WriteAtPosition);
}

} // namespace storage::core_operations
