#include "tests/host/validate/faults/BrokenProvider.h"
#include "tests/host/validate/faults/FaultCatalogue.h"
#include "tests/support/ForwardingStream.h"

#include <algorithm>
#include <array>
#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <limits>
#include <optional>
#include <string>
#include <utility>

namespace faults {

using namespace foundation::storage::provider;

namespace reading_and_writing_faults {
namespace {

/// The arguments with which a stream was opened.
struct Opening {
    std::shared_ptr<const IProvider> provider;
    StorageIRI iri;
    ByteStreamOpenOptions options;
};

/// A provider with streams of class `Stream`. Each is constructed from a correct stream and its opening.
template <class Stream>
class WithStreams : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        return std::make_unique<Stream>(sound().doOpenStream(iri, options),
                                        Opening{sharedSound(), iri, options});
    }
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        return std::make_unique<Stream>(sound().doOpenReadOnlyStream(iri), Opening{sharedSound(), iri, {}});
    }
};

class OpenedStream : public ForwardingStream {
public:
    OpenedStream(std::unique_ptr<ByteStream> stream, Opening opening)
        : ForwardingStream(std::move(stream)), opening_(std::move(opening)) {}

protected:
    const Opening& opening() const { return opening_; }
    bool appends() const { return opening_.options.append == ByteStreamAppend::AppendAtEnd; }
    bool fileIsThere() const { return opening_.provider->doFileExists(opening_.iri); }
    std::streamoff position() { return inner().seek(0, std::ios_base::cur); }

private:
    Opening opening_;
};

/// Treats the control character Ctrl-Z as the end of the file, like old text formats.
class EndAtControlZ final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    long read(char* buffer, long count) override {
        const long copied = OpenedStream::read(buffer, count);
        const long end = copied > 0 ? std::find(buffer, buffer + copied, '\x1A') - buffer : copied;
        return end == 0 ? -1 : end;
    }
};

/// Writes only the first MiB of each write.
class FirstMebibyte final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    long write(const char* buffer, long count) override {
        OpenedStream::write(buffer, std::min(count, 1L << 20));
        return count;
    }
};

/// Does not move the position after a write.
class WriteWithoutMoving final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    long write(const char* buffer, long count) override {
        const auto before = position();
        const long answer = OpenedStream::write(buffer, count);
        seek(before, std::ios_base::beg);
        return answer;
    }
};

/// Truncates a write that crosses the end of the file.
class WriteWithinFile final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    long write(const char* buffer, long count) override {
        const auto before = position();
        const auto left = seek(0, std::ios_base::end) - std::streampos(before);
        seek(before, std::ios_base::beg);
        OpenedStream::write(buffer, left > 0 ? std::min(count, static_cast<long>(left)) : count);
        return count;
    }
};

/// Returns -1 for an empty write, as a read at the end of the file does.
class WritingNothingFails final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    long write(const char* buffer, long count) override {
        return count == 0 ? -1 : OpenedStream::write(buffer, count);
    }
};

/// Fills the last page with zeros in an empty write.
class WritingNothingFillsPage final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    long write(const char* buffer, long count) override {
        constexpr std::streamoff page = 4096;
        const auto before = position();
        const std::streamoff end = seek(0, std::ios_base::end);
        if (count == 0 && end > page && end % page != 0) {
            const std::string zeros(static_cast<std::size_t>(page - end % page), '\0');
            OpenedStream::write(zeros.data(), page - end % page);
        }
        seek(before, std::ios_base::beg);
        return OpenedStream::write(buffer, count);
    }
};

/// Skips the byte after a read.
class SkippingRead final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    long read(char* buffer, long count) override {
        const long copied = OpenedStream::read(buffer, count);
        seek(1, std::ios_base::cur);
        return copied;
    }
};

/// Returns 0 at the end of the file.
class ZeroAtTheEnd final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    long read(char* buffer, long count) override {
        return count == 0 ? -1 : std::max(OpenedStream::read(buffer, count), 0L);
    }
};

/// Returns 0 for a read of 0 bytes.
class ZeroForNothing final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    long read(char* buffer, long count) override {
        return count == 0 ? 0 : OpenedStream::read(buffer, count);
    }
};

/// Clears the part of the buffer that a read does not fill.
class ClearedBuffer final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    long read(char* buffer, long count) override {
        const long copied = OpenedStream::read(buffer, count);
        std::fill(buffer + std::max(copied, 0L), buffer + count, '\0');
        return copied;
    }
};

/// Subtracts offsets from the end.
class EndCountsBackwards final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    std::streampos seek(long offset, std::ios_base::seekdir direction) override {
        return OpenedStream::seek(direction == std::ios_base::end ? -offset : offset, direction);
    }
};

/// Refuses to seek to the end of the file.
class EndIsOutside final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    std::streampos seek(long offset, std::ios_base::seekdir direction) override {
        const auto before = position();
        const auto answer = OpenedStream::seek(offset, direction);
        if (answer == OpenedStream::seek(0, std::ios_base::end)) {
            OpenedStream::seek(before, std::ios_base::beg);
            return -1;
        }
        return OpenedStream::seek(answer == -1 ? before : std::streamoff(answer), std::ios_base::beg);
    }
};

/// Seeks to the end instead of refusing a position after it.
class SeekStopsAtTheEnd final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    std::streampos seek(long offset, std::ios_base::seekdir direction) override {
        const auto answer = OpenedStream::seek(offset, direction);
        return answer == -1 && offset > 0 ? OpenedStream::seek(0, std::ios_base::end) : answer;
    }
};

/// Treats an invalid direction as the beginning.
class AnyDirection final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    std::streampos seek(long offset, std::ios_base::seekdir direction) override {
        const bool known = direction == std::ios_base::cur || direction == std::ios_base::end;
        return OpenedStream::seek(offset, known ? direction : std::ios_base::beg);
    }
};

/// Rewinds the position in a flush.
class FlushRewinds final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    void flush() override { seek(0, std::ios_base::beg); }
};

/// Reads from a snapshot of the bytes at opening.
class ReadingACopy final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        const auto apart = storage::inmemoryprovider::buildInMemoryProvider();
        const StorageIRI copy(u"/copy");
        const auto from = sound().doOpenReadOnlyStream(iri);
        const auto to = apart->doOpenStream(copy, {});
        std::array<char, 256> block{};
        for (long count = 0; (count = from->read(block.data(), 256)) > 0;) {
            to->write(block.data(), count);
        }
        return apart->doOpenReadOnlyStream(copy);
    }
};

/// Delays writes until the flush.
class HoldingBack final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    long write(const char* buffer, long count) override {
        held_.append(buffer, static_cast<std::size_t>(count));
        return count;
    }
    void flush() override {
        OpenedStream::write(held_.data(), static_cast<long>(held_.size()));
        held_.clear();
    }

private:
    std::string held_;
};

/// Shares one position between all streams.
class OnePosition final : public OpenedStream {
    template <class Use>
    auto atCommon(const Use& use) {
        static std::streamoff common = 0;
        inner().seek(common, std::ios_base::beg);
        const auto answer = use();
        common = position();
        return answer;
    }

public:
    using OpenedStream::OpenedStream;
    long read(char* buffer, long count) override {
        return atCommon([&] { return OpenedStream::read(buffer, count); });
    }
    long write(const char* buffer, long count) override {
        return atCommon([&] { return OpenedStream::write(buffer, count); });
    }
    std::streampos seek(long offset, std::ios_base::seekdir direction) override {
        return atCommon([&] { return OpenedStream::seek(offset, direction); });
    }
};

/// Starts an appending stream at the end, but then writes at its position.
class AppendingOnlyAtFirst final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        OpenOptions atPosition = options;
        atPosition.append = ByteStreamAppend::WriteAtPosition;
        auto stream = sound().doOpenStream(iri, atPosition);
        if (options.append == ByteStreamAppend::AppendAtEnd) {
            stream->seek(0, std::ios_base::end);
        }
        return stream;
    }
};

/// Appends at an end that the stream tracks itself.
class AppendingByItsOwnEnd final : public OpenedStream {
public:
    AppendingByItsOwnEnd(std::unique_ptr<ByteStream> stream, const Opening& opening)
        : OpenedStream(appending(opening) ? atPosition(opening) : std::move(stream), opening),
          end_(inner().seek(0, std::ios_base::end)) {
        inner().seek(0, std::ios_base::beg);
    }
    long write(const char* buffer, long count) override {
        if (!appends()) {
            return OpenedStream::write(buffer, count);
        }
        inner().seek(end_, std::ios_base::beg);
        end_ += count;
        return OpenedStream::write(buffer, count);
    }

private:
    static bool appending(const Opening& opening) {
        return opening.options.append == ByteStreamAppend::AppendAtEnd;
    }
    static std::unique_ptr<ByteStream> atPosition(const Opening& opening) {
        return opening.provider->doOpenStream(opening.iri, {});
    }

    std::streamoff end_;
};

/// Reads zeros after the end.
class ZerosBehindTheEnd final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    long read(char* buffer, long count) override {
        if (position() != -1) {
            return OpenedStream::read(buffer, count);
        }
        std::fill(buffer, buffer + count, '\0');
        return count;
    }
};

/// Fills the gap of a write after the end with zeros.
class FilledGap final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    long write(const char* buffer, long count) override {
        if (count > 0 && position() == -1) {
            const std::string zeros(static_cast<std::size_t>(last_), '\0');
            OpenedStream::write(zeros.data(), last_);
        }
        return OpenedStream::write(buffer, count);
    }
    std::streampos seek(long offset, std::ios_base::seekdir direction) override {
        const auto answer = OpenedStream::seek(offset, direction);
        last_ = std::max(static_cast<long>(std::streamoff(answer)), last_);
        return answer;
    }

private:
    long last_ = 0;
};

/// Does nothing for an empty append.
class AppendingNothingStays final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    long write(const char* buffer, long count) override {
        return count == 0 ? 0 : OpenedStream::write(buffer, count);
    }
};

/// Silently discards a write that is too large.
class TooMuchIsDropped final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    long write(const char* buffer, long count) override {
        return count == std::numeric_limits<long>::max() ? count : OpenedStream::write(buffer, count);
    }
};

/// Reads nothing after the file was removed.
class DyingWithTheFile final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    long read(char* buffer, long count) override {
        return fileIsThere() ? OpenedStream::read(buffer, count) : -1;
    }
};

/// Recreates a removed file by writing.
class WritingRevives final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    long write(const char* buffer, long count) override {
        if (!fileIsThere()) {
            opening().provider->doCreateFile(opening().iri);
        }
        return OpenedStream::write(buffer, count);
    }
};

/// Moves a file by copying it.
class MovingByCopying final : public BrokenProvider {
public:
    void doMoveFile(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const override {
        sound().doCopyFile(from, to, policy);
        sound().doRemoveFile(from);
    }
};

/// Moves an empty file by creating a new one.
class MovingEmptyByCreating final : public BrokenProvider {
public:
    void doMoveFile(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const override {
        if (sound().doGetFileAttributes(from).getSize() > 0) {
            return sound().doMoveFile(from, to, policy);
        }
        sound().doCreateFile(to);
        sound().doRemoveFile(from);
    }
};

/// Copies the files of a moved folder.
class MovingFoldersByCopying final : public BrokenProvider {
public:
    void doMoveFolder(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const override {
        sound().doMoveFolder(from, to, policy);
        for (auto listing = sound().doListAllRecursive(to); listing->hasNext();) {
            listing->step();
            const StorageIRI entry(to.getPath() + u"/" + listing->getEntry().getName());
            if (sound().doFileExists(entry)) {
                sound().doCopyFile(entry, entry, Policy::ReplaceExisting);
            }
        }
    }
};

/// Replaces a file by writing the new bytes into it.
class ReplacingByWriting final : public BrokenProvider {
public:
    void doMoveFile(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const override {
        if (policy != Policy::ReplaceExisting || !sound().doFileExists(to)) {
            return sound().doMoveFile(from, to, policy);
        }
        std::array<char, 256> block{};
        const long count = sound().doOpenReadOnlyStream(from)->read(block.data(), 256);
        sound().doOpenStream(to, {.content = ByteStreamContent::Empty})->write(block.data(), count);
        sound().doRemoveFile(from);
    }
};

/// Reads nothing after the provider was destroyed.
class DyingWithTheProvider final : public BrokenProvider {
    class Stream final : public ForwardingStream {
    public:
        Stream(std::unique_ptr<ByteStream> stream, std::weak_ptr<const IProvider> provider)
            : ForwardingStream(std::move(stream)), provider_(std::move(provider)) {}
        long read(char* buffer, long count) override {
            return provider_.expired() ? -1 : ForwardingStream::read(buffer, count);
        }

    private:
        std::weak_ptr<const IProvider> provider_;
    };

public:
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        return std::make_unique<Stream>(sound().doOpenReadOnlyStream(iri), sharedSound());
    }
};

/// Stamps the file in a write.
class WritingStamps final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    long write(const char* buffer, long count) override {
        opening().provider->doSetLastModified(opening().iri,
                                              boost::posix_time::microsec_clock::universal_time());
        return OpenedStream::write(buffer, count);
    }
};

/// Checks the writable flag in every write.
class WritingAsksForTheFlag final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    long write(const char* buffer, long count) override {
        if (!opening().provider->doGetFileAttributes(opening().iri).isWritable()) {
            throw Exception(ErrorCode::ReadOnly, opening().iri);
        }
        return OpenedStream::write(buffer, count);
    }
};

/// Corrupts the byte after the first block of a write.
class BlockBoundary final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    long write(const char* buffer, long count) override {
        constexpr long block = 4096;
        std::string bytes(buffer, static_cast<std::size_t>(count));
        if (count > block) {
            bytes[block] = static_cast<char>(~bytes[block]);
        }
        return OpenedStream::write(bytes.data(), count);
    }
};

/// Reads at most 64 KiB but advances the position by the whole count.
struct FetchingOneBlock : ForwardingStream {
    using ForwardingStream::ForwardingStream;
    long read(char* buffer, long count) override {
        const long fetched = inner().read(buffer, std::min(count, 65536L));
        if (count > 65536) {
            inner().seek(count - 65536, std::ios_base::cur);
        }
        return fetched;
    }
};

struct ReadsFetchOneBlock : BrokenProvider {
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        return std::make_unique<FetchingOneBlock>(sound().doOpenReadOnlyStream(iri));
    }
};

/// Opens the file of the 128th stream again for all later streams.
class TableOf128 final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        if (++opened_ <= 128) {
            last_ = iri;
        }
        return sound().doOpenStream(*last_, options);
    }

private:
    mutable int opened_ = 0;
    mutable std::optional<StorageIRI> last_;
};

/// Refuses to seek to the end of an empty file that is opened for reading.
class ReadersFindNoEnd final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        struct Endless final : ForwardingStream {
            using ForwardingStream::ForwardingStream;
            std::streampos seek(long offset, std::ios_base::seekdir direction) override {
                const auto position = ForwardingStream::seek(offset, direction);
                return direction == std::ios_base::end && position == std::streampos(0) ? std::streampos(-1)
                                                                                        : position;
            }
        };
        return std::make_unique<Endless>(sound().doOpenReadOnlyStream(iri));
    }
};

/// Treats zeros in the middle of a file as a hole, and keeps the old bytes.
class ZerosAreSkipped final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    long write(const char* buffer, long count) override {
        const auto before = position();
        const std::streamoff end = seek(0, std::ios_base::end);
        const bool isHole =
            count >= 100 && std::all_of(buffer, buffer + count, [](char c) { return c == 0; });
        const bool skips = isHole && before + count <= end && !appends();
        seek(before + (skips ? count : 0), std::ios_base::beg);
        return skips ? count : OpenedStream::write(buffer, count);
    }
};

/// Reports one byte less for a file of one page.
class PageLosesByte final : public BrokenProvider {
public:
    FileAttributes doGetFileAttributes(const StorageIRI& iri) const override {
        const FileAttributes attributes = sound().doGetFileAttributes(iri);
        const unsigned long size = attributes.getSize();
        return {size == 4096 ? size - 1 : size, attributes.getLastModified(), attributes.isWritable()};
    }
};

/// Returns 0 for a read of 0 bytes from an empty file.
class ZeroForNothingOfEmpty final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    long read(char* buffer, long count) override {
        const auto before = position();
        const bool isEmpty = seek(0, std::ios_base::end) == std::streampos(0);
        seek(before, std::ios_base::beg);
        return isEmpty && count == 0 ? 0 : OpenedStream::read(buffer, count);
    }
};

/// Reads one byte ahead. Without a seek in between, a write starts after that byte.
class WritingBehindReadAhead final : public OpenedStream {
public:
    using OpenedStream::OpenedStream;
    long read(char* buffer, long count) override {
        ahead_ = 1;
        return OpenedStream::read(buffer, count);
    }
    long write(const char* buffer, long count) override {
        inner().seek(std::exchange(ahead_, 0), std::ios_base::cur);
        return OpenedStream::write(buffer, count);
    }
    std::streampos seek(long offset, std::ios_base::seekdir direction) override {
        ahead_ = 0;
        return OpenedStream::seek(offset, direction);
    }

private:
    long ahead_ = 0;
};

constexpr std::array table{
    Fault{"EndAtControlZ", "8.1", build<WithStreams<EndAtControlZ>>},
    Fault{"FirstMebibyte", "8.2", build<WithStreams<FirstMebibyte>>},
    Fault{"WriteWithoutMoving", "8.3", build<WithStreams<WriteWithoutMoving>>},
    Fault{"WriteWithinFile", "8.4", build<WithStreams<WriteWithinFile>>},
    Fault{"WritingBehindReadAhead", "8.4", build<WithStreams<WritingBehindReadAhead>>},
    Fault{"WritingNothingFails", "8.5", build<WithStreams<WritingNothingFails>>},
    Fault{"WritingNothingFillsPage", "8.5", build<WithStreams<WritingNothingFillsPage>>},
    Fault{"SkippingRead", "8.6", build<WithStreams<SkippingRead>>},
    Fault{"ZeroAtTheEnd", "8.7", build<WithStreams<ZeroAtTheEnd>>},
    Fault{"ZeroForNothing", "8.8", build<WithStreams<ZeroForNothing>>},
    Fault{"ZeroForNothingOfEmpty", "8.8", build<WithStreams<ZeroForNothingOfEmpty>>},
    Fault{"ClearedBuffer", "8.9", build<WithStreams<ClearedBuffer>>},
    Fault{"EndCountsBackwards", "8.10", build<WithStreams<EndCountsBackwards>>},
    Fault{"EndIsOutside", "8.11", build<WithStreams<EndIsOutside>>},
    Fault{"ReadersFindNoEnd", "8.11", build<ReadersFindNoEnd>},
    Fault{"SeekStopsAtTheEnd", "8.12", build<WithStreams<SeekStopsAtTheEnd>>},
    Fault{"AnyDirection", "8.13", build<WithStreams<AnyDirection>>},
    Fault{"FlushRewinds", "8.14", build<WithStreams<FlushRewinds>>},
    Fault{"ReadingACopy", "8.15", build<ReadingACopy>},
    Fault{"HoldingBack", "8.16", build<WithStreams<HoldingBack>>},
    Fault{"OnePosition", "8.17", build<WithStreams<OnePosition>>},
    Fault{"AppendingOnlyAtFirst", "8.18", build<AppendingOnlyAtFirst>},
    Fault{"AppendingByItsOwnEnd", "8.19", build<WithStreams<AppendingByItsOwnEnd>>},
    Fault{"ZerosBehindTheEnd", "8.20", build<WithStreams<ZerosBehindTheEnd>>},
    Fault{"FilledGap", "8.21", build<WithStreams<FilledGap>>},
    Fault{"AppendingNothingStays", "8.22", build<WithStreams<AppendingNothingStays>>},
    Fault{"TooMuchIsDropped", "8.23", build<WithStreams<TooMuchIsDropped>>},
    Fault{"DyingWithTheFile", "8.24", build<WithStreams<DyingWithTheFile>>},
    Fault{"WritingRevives", "8.25", build<WithStreams<WritingRevives>>},
    Fault{"MovingByCopying", "8.26", build<MovingByCopying>},
    Fault{"MovingEmptyByCreating", "8.27", build<MovingEmptyByCreating>},
    Fault{"MovingFoldersByCopying", "8.28", build<MovingFoldersByCopying>},
    Fault{"ReplacingByWriting", "8.29", build<ReplacingByWriting>},
    Fault{"DyingWithTheProvider", "8.30", build<DyingWithTheProvider>},
    Fault{"WritingStamps", "8.31", build<WithStreams<WritingStamps>>},
    Fault{"WritingAsksForTheFlag", "8.32", build<WithStreams<WritingAsksForTheFlag>>},
    Fault{"BlockBoundary", "8.33", build<WithStreams<BlockBoundary>>},
    Fault{"ReadsFetchOneBlock", "8.34", build<ReadsFetchOneBlock>},
    Fault{"TableOf128", "8.35", build<TableOf128>},
    Fault{"ZerosAreSkipped", "8.37", build<WithStreams<ZerosAreSkipped>>},
    Fault{"PageLosesByte", "8.38", build<PageLosesByte>},
};

} // namespace
} // namespace reading_and_writing_faults

std::span<const Fault> readingAndWriting() {
    return reading_and_writing_faults::table;
}

} // namespace faults
