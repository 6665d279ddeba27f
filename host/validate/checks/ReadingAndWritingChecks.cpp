#include "host/support/Utf.h"
#include "host/validate/checks/CheckCatalogue.h"
#include "host/validate/kit/CheckContext.h"
#include "host/validate/kit/Expectations.h"
#include "host/validate/kit/Policies.h"
#include "host/validate/kit/StreamSteps.h"
#include "host/validate/kit/Times.h"
#include "host/validate/kit/WriteProtection.h"
#include "hostapi/storage/provider/ByteStreamTransfer.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <limits>
#include <new>
#include <optional>
#include <stdexcept>
#include <vector>

namespace storage::host::checks {

using namespace provider;

namespace reading_and_writing_checks {
namespace {

constexpr auto fromBeginning = std::ios_base::beg;
constexpr auto fromPosition = std::ios_base::cur;
constexpr auto fromEnd = std::ios_base::end;
constexpr long longest = std::numeric_limits<long>::max();

/// Creates a file with the ten digits and opens a stream at its beginning.
std::unique_ptr<ByteStream> openDigits(CheckContext& context) {
    makeFile(context.provider(), context.at(u"f"), "0123456789");
    return openStream(context.provider(), context.at(u"f"));
}

void expectContent(CheckContext& context, std::u16string_view path, std::string_view bytes,
                   std::string_view occasion) {
    const std::string content = contentOf(context.provider(), context.at(path));
    const auto beginning = [](std::string_view text) { return printable(text.substr(0, 80)); };
    expect(content == bytes, fmt::format(R"({}, the file holds "{}", not "{}")", occasion, beginning(content),
                                         beginning(bytes)));
}

void everyByteIsKept(CheckContext& context) {
    std::string bytes;
    for (int value = 0; value < 256; ++value) {
        for (int next = 0; next < 256; ++next) { // every value after every other one
            bytes += static_cast<char>(value);
            bytes += static_cast<char>(next);
        }
    }
    makeFile(context.provider(), context.at(u"f"), bytes);
    expect(contentOf(context.provider(), context.at(u"f")) == bytes,
           "bytes of some values are not read as they were written");
}

void largeWriteIsKept(CheckContext& context) {
    std::string bytes((std::size_t{17} << 20U) + 17, '\0');
    for (std::size_t i = 0; i < bytes.size(); i += 8) {
        bytes[i] = static_cast<char>(context.random()());
    }
    const auto stream = openStream(context.provider(), context.at(u"f"));
    writeText(*stream, bytes);
    writeText(*stream, "end");
    expect(contentOf(context.provider(), context.at(u"f")) == bytes + "end",
           "17 MiB written at once are not read as they were written");
    writeText(*openToAppend(context.provider(), context.at(u"g")), bytes);
    expect(contentOf(context.provider(), context.at(u"g")) == bytes,
           "17 MiB appended at once are not read as they were written");
    expect(context.provider().doGetFileAttributes(context.at(u"f")).getSize() == bytes.size() + 3,
           "the size of a file of 17 MiB is wrong");
}

void writeAdvancesPosition(CheckContext& context) {
    const auto stream = openStream(context.provider(), context.at(u"f"));
    for (const std::string_view part : {"ab", "c", "def"}) {
        writeText(*stream, part);
    }
    expectContent(context, u"f", "abcdef", "after three writes");
    expect(positionOf(*stream) == 6, "the position is not after the written bytes");
}

void writingOverwritesAndGrows(CheckContext& context) {
    const auto stream = openDigits(context);
    seekTo(*stream, 2, fromBeginning);
    writeText(*stream, "ab");
    expectContent(context, u"f", "01ab456789", "after overwriting 2 bytes");
    seekTo(*stream, 8, fromBeginning);
    writeText(*stream, "abcde");
    expectContent(context, u"f", "01ab4567abcde", "after writing 5 bytes, 2 before the end");
    expect(positionOf(*stream) == 13, "the position is not after a write that extends the file");
    seekTo(*stream, 0, fromBeginning);
    std::string bytes = "01ab4567abcde";
    const std::size_t count = readOnce(*stream, 6).size(); // without a seek before the next write and read
    writeText(*stream, "XY");
    const std::string next = readOnce(*stream, 1);
    bytes.replace(count, 2, "XY");
    expectContent(context, u"f", bytes, "after a write that follows a read");
    expect(next == bytes.substr(count + 2, 1), "a read that follows a write returns another byte");
}

/// Writes 0 bytes to files of sizes around that of a page, at the beginning, in the middle and at the end.
void expectNothingWritten(CheckContext& context) {
    const StorageIRI file = context.at(u"sized");
    for (const std::size_t size : std::initializer_list<std::size_t>{0, 1, 4095, 4096, 4097, 70'000}) {
        const std::string bytes(size, 'x');
        makeFile(context.provider(), file, bytes);
        for (const ByteStreamAppend append :
             {ByteStreamAppend::WriteAtPosition, ByteStreamAppend::AppendAtEnd}) {
            const auto stream = openStream(context.provider(), file, {.append = append});
            for (const std::size_t position : {std::size_t{0}, size / 2, size}) {
                seekTo(*stream, static_cast<long>(position), fromBeginning);
                expect(stream->write("y", 0) == 0, "writing 0 bytes does not return 0");
            }
            stream->flush();
        }
        expect(contentOf(context.provider(), file) == bytes &&
                   context.provider().doGetFileAttributes(file).getSize() == size,
               fmt::format("writing 0 bytes to a file of {} bytes changes its bytes or its size", size));
        context.provider().doRemoveFile(file);
    }
}

void writingNothingChangesNothing(CheckContext& context) {
    const auto stream = openDigits(context);
    seekTo(*stream, 3, fromBeginning);
    expect(stream->write("x", 0) == 0, "writing 0 bytes does not return 0");
    expect(positionOf(*stream) == 3, "writing 0 bytes moves the position");
    for (const long position : {0L, 10L}) {
        seekTo(*stream, position, fromBeginning);
        expect(stream->write("x", 0) == 0, "writing 0 bytes at the beginning or the end does not return 0");
        stream->flush();
    }
    expect(openToAppend(context.provider(), context.at(u"f"))->write("x", 0) == 0,
           "appending 0 bytes does not return 0");
    expectContent(context, u"f", "0123456789", "after writing 0 bytes");
    expectNothingWritten(context);
}

void readAdvancesPosition(CheckContext& context) {
    const auto stream = openDigits(context);
    std::string bytes;
    for (std::string part; !(part = readOnce(*stream, 3)).empty();) {
        bytes += part;
        expect(positionOf(*stream) == static_cast<long>(bytes.size()),
               "the position is not after the bytes that were read");
    }
    expect(bytes == "0123456789", "reading in parts does not return what was written");
}

void readingAtTheEndGivesNothing(CheckContext& context) {
    const auto stream = openDigits(context);
    seekTo(*stream, 0, fromEnd);
    std::array<char, 4> buffer{'k', 'e', 'p', 't'};
    expect(stream->read(buffer.data(), 4) == -1, "reading at the end does not return -1");
    expect(std::string_view(buffer.data(), 4) == "kept", "reading at the end changes the buffer");
    expect(positionOf(*stream) == 10, "reading at the end moves the position");
}

void readingNothingGivesNothing(CheckContext& context) {
    const auto stream = openDigits(context);
    seekTo(*stream, 3, fromBeginning);
    char untouched = 'k';
    expect(stream->read(&untouched, 0) == -1, "reading 0 bytes does not return -1");
    expect(untouched == 'k' && positionOf(*stream) == 3,
           "reading 0 bytes changes the buffer or the position");
    const auto writer = openStream(context.provider(), context.at(u"empty"));
    const auto reader = openForReading(context.provider(), context.at(u"empty"));
    expect(writer->read(&untouched, 0) == -1 && reader->read(&untouched, 0) == -1,
           "reading 0 bytes of an empty file does not return -1");
}

void readingStopsAtTheEnd(CheckContext& context) {
    const auto stream = openDigits(context);
    seekTo(*stream, 7, fromBeginning);
    std::string buffer(100, 'k');
    const long count = stream->read(buffer.data(), 100);
    expect(count >= 1 && count <= 3, fmt::format("reading 100 bytes, 3 before the end, returns {}", count));
    const std::string expected = std::string("789").substr(0, static_cast<std::size_t>(count)) +
                                 std::string(static_cast<std::size_t>(100 - count), 'k');
    expect(buffer == expected, "a read changes more of the buffer than it returns, or returns other bytes");
}

void seekingInEveryDirection(CheckContext& context) {
    const auto stream = openDigits(context);
    const auto expectSeek = [&](long offset, std::ios_base::seekdir direction, long target, char next) {
        const long answer = seekTo(*stream, offset, direction);
        expect(answer == target, fmt::format("a seek to position {} returns {}", target, answer));
        expect(readOnce(*stream, 1) == std::string(1, next),
               fmt::format("after a seek to position {}, another byte is read", target));
    };
    expectSeek(4, fromBeginning, 4, '4');
    expectSeek(2, fromPosition, 7, '7');
    expectSeek(-6, fromPosition, 2, '2');
    expectSeek(-1, fromEnd, 9, '9');
    expectSeek(-10, fromEnd, 0, '0');
    expectSeek(0, fromPosition, 1, '1');
}

void seekingToTheEnd(CheckContext& context) {
    const auto stream = openDigits(context);
    expect(seekTo(*stream, 10, fromBeginning) == 10 && seekTo(*stream, 0, fromEnd) == 10,
           "a seek to the end of the file does not return its size");
    writeText(*stream, "ab");
    expectContent(context, u"f", "0123456789ab", "after a write at the end");
    const auto empty = openStream(context.provider(), context.at(u"empty"));
    const auto emptyToRead = openForReading(context.provider(), context.at(u"empty"));
    expect(seekTo(*empty, 0, fromEnd) == 0 && seekTo(*emptyToRead, 0, fromEnd) == 0,
           "a seek to the end of an empty file does not return 0");
}

void seekingOutsideFails(CheckContext& context) {
    const auto stream = openDigits(context);
    seekTo(*stream, 5, fromBeginning);
    const auto expectFailed = [&](long offset, std::ios_base::seekdir direction) {
        const long answer = seekTo(*stream, offset, direction);
        expect(answer == -1, fmt::format("a seek outside the file, by {}, returns {}", offset, answer));
        expect(positionOf(*stream) == 5, "a failed seek moves the position");
    };
    for (const long offset : {-1L, 11L, longest, std::numeric_limits<long>::min()}) {
        expectFailed(offset, fromBeginning);
    }
    for (const long offset : {-6L, 6L, longest, std::numeric_limits<long>::min()}) {
        expectFailed(offset, fromPosition);
    }
    for (const long offset : {-11L, 1L, longest, std::numeric_limits<long>::min()}) {
        expectFailed(offset, fromEnd);
    }
}

void seekingInNoDirectionFails(CheckContext& context) {
    const auto stream = openDigits(context);
    seekTo(*stream, 5, fromBeginning);
    expect(seekTo(*stream, 1, static_cast<std::ios_base::seekdir>(7)) == -1 && positionOf(*stream) == 5,
           "a seek in an unknown direction does not return -1, or moves the position");
}

void flushChangesNothing(CheckContext& context) {
    const auto stream = openDigits(context);
    seekTo(*stream, 4, fromBeginning);
    stream->flush();
    stream->flush();
    expect(positionOf(*stream) == 4, "flushing moves the position");
    const auto reader = openForReading(context.provider(), context.at(u"f"));
    const auto appender = openToAppend(context.provider(), context.at(u"f"));
    for (ByteStream* each : {reader.get(), appender.get()}) {
        seekTo(*each, 3, fromBeginning);
        each->flush();
        each->flush();
        expect(positionOf(*each) == 3, "flushing a stream that reads or appends moves the position");
    }
    expectContent(context, u"f", "0123456789", "after flushing");
}

void streamsShareBytes(CheckContext& context) {
    const auto writer = openDigits(context);
    const auto reader = openForReading(context.provider(), context.at(u"f"));
    expect(readOnce(*reader, 1) == "0", "a stream does not read the first byte");
    writeText(*writer, "abc");
    expect(readOnce(*reader, 1) == "b", "a stream does not read what another has written over old bytes");
    seekTo(*writer, 0, fromEnd);
    writeText(*writer, "xyz");
    seekTo(*reader, -3, fromEnd);
    expect(readRest(*reader) == "xyz", "a stream does not read bytes that another has appended");
}

void writesAreVisibleAtOnce(CheckContext& context) {
    const auto writer = openDigits(context);
    const auto reader = openForReading(context.provider(), context.at(u"f"));
    writeAll(*writer, "abcdefghijkl");
    expect(readRest(*reader) == "abcdefghijkl", "a write is not visible to another stream without a flush");
    expect(context.provider().doGetFileAttributes(context.at(u"f")).getSize() == 12,
           "a write is not visible in the size of the file without a flush");
}

void positionsAreIndependent(CheckContext& context) {
    const auto first = openDigits(context);
    const auto second = openStream(context.provider(), context.at(u"f"));
    const auto third = openForReading(context.provider(), context.at(u"f"));
    seekTo(*first, 5, fromBeginning);
    readText(*second, 2);
    writeText(*first, "x");
    expect(positionOf(*first) == 6 && positionOf(*second) == 2 && positionOf(*third) == 0,
           "the streams on a file do not have independent positions");
}

void appendingGoesToTheEnd(CheckContext& context) {
    openDigits(context);
    const auto stream = openToAppend(context.provider(), context.at(u"f"));
    writeText(*stream, "a");
    seekTo(*stream, 2, fromBeginning);
    writeText(*stream, "bcd");
    expectContent(context, u"f", "0123456789abcd", "after appending from position 2");
    expect(positionOf(*stream) == 14, "the position is not after the appended bytes");
    expect(seekTo(*stream, 8, fromBeginning) == 8 && readText(*stream, 3) == "89a",
           "a stream that appends cannot seek and read");
}

void appendersLoseNothing(CheckContext& context) {
    const auto first = openToAppend(context.provider(), context.at(u"f"));
    const auto second = openToAppend(context.provider(), context.at(u"f"));
    std::string expected;
    for (int i = 0; i < 20; ++i) {
        const std::string record = fmt::format("record {};", i);
        writeText(i % 3 == 0 ? *second : *first, record);
        expected += record;
    }
    expectContent(context, u"f", expected, "after 20 appends of two streams in turn");
}

/// A stream at position 5 of a file that is now empty.
std::unique_ptr<ByteStream> openBehindTheEnd(CheckContext& context) {
    auto stream = openDigits(context);
    seekTo(*stream, 5, fromBeginning);
    openStream(context.provider(), context.at(u"f"), {.content = ByteStreamContent::Empty});
    return stream;
}

void positionBehindTheEnd(CheckContext& context) {
    const auto stream = openBehindTheEnd(context);
    expect(readOnce(*stream, 3).empty(), "a stream reads bytes past the end of its file");
    expect(seekTo(*stream, 0, fromPosition) == -1, "a seek to a position past the end does not return -1");
    expect(seekTo(*stream, 0, fromBeginning) == 0 && readOnce(*stream, 1).empty(),
           "after its file was emptied, a stream cannot seek to the beginning");
    writeText(*stream, "new");
    expectContent(context, u"f", "new", "after a write to a file that was emptied");
}

void writingBehindTheEnd(CheckContext& context) {
    const auto stream = openBehindTheEnd(context);
    expect(stream->write("x", 0) == 0, "writing 0 bytes past the end does not return 0");
    expectContent(context, u"f", "", "after writing 0 bytes past the end");
    writeText(*stream, "abcd");
    expectContent(context, u"f", "abcd", "after a write at a position past the end");
    expect(positionOf(*stream) == 4, "the position is not at the end after a write");
}

void appendingNothingMovesToTheEnd(CheckContext& context) {
    openDigits(context);
    const auto stream = openToAppend(context.provider(), context.at(u"f"));
    stream->write("x", 0);
    expect(positionOf(*stream) == 10, "appending 0 bytes does not move the position to the end");
}

void growingTooFarFails(CheckContext& context) {
    openDigits(context);
    const auto stream = openToAppend(context.provider(), context.at(u"f"));
    try {
        stream->write("x", longest);
        expect(false, "an append succeeds, although no file can have that many bytes");
    } catch (const std::bad_alloc&) {
    } catch (const std::length_error&) {
    }
    expectContent(context, u"f", "0123456789", "after a write that is too large");
    writeText(*stream, "ab");
    expectContent(context, u"f", "0123456789ab", "after a write that fits");
}

void streamOutlivesRemoval(CheckContext& context) {
    const auto stream = openDigits(context);
    const auto reader = openForReading(context.provider(), context.at(u"f"));
    context.provider().doRemoveFile(context.at(u"f"));
    expect(readText(*stream, 4) == "0123", "a stream cannot read its file after the removal");
    writeText(*stream, "abcd");
    seekTo(*stream, 0, fromEnd);
    writeText(*stream, "xyz");
    seekTo(*stream, 0, fromBeginning);
    expect(readRest(*stream) == "0123abcd89xyz", "a stream does not read what it wrote after the removal");
    expect(readRest(*reader) == "0123abcd89xyz", "two streams of a removed file do not share its bytes");
}

void removedFileStaysRemoved(CheckContext& context) {
    const auto stream = openDigits(context);
    context.provider().doRemoveFile(context.at(u"f"));
    writeText(*stream, "abcd");
    expect(!context.provider().doFileExists(context.at(u"f")), "writing restores a removed file");
    context.provider().doCreateFile(context.at(u"f"));
    writeText(*stream, "efgh");
    expectContent(context, u"f", "", "after a new file took the place of the stream's file");
    writeText(*openStream(context.provider(), context.at(u"f")), "new");
    seekTo(*stream, 0, fromBeginning);
    expect(readRest(*stream) == "abcdefgh89", "a stream on a removed file shares bytes with a new file");
}

/// Expects that writes through the old stream are visible in the moved file, and vice versa.
void expectShared(CheckContext& context, ByteStream& old, std::u16string_view movedTo) {
    seekTo(old, 0, fromBeginning);
    writeText(old, "ab");
    expectContent(context, movedTo, "ab23456789", "after a write through a stream opened before the move");
    const auto stream = openStream(context.provider(), context.at(movedTo));
    seekTo(*stream, 0, fromEnd);
    writeText(*stream, "xyz");
    expect(readRest(old) == "23456789xyz",
           "a stream opened before the move does not read bytes written after it");
    openStream(context.provider(), context.at(movedTo), {.content = ByteStreamContent::Empty});
    expect(readOnce(old, 1).empty(),
           "a stream opened before the move reads bytes that were removed by emptying the file");
}

void streamFollowsMovedFile(CheckContext& context) {
    const auto stream = openDigits(context);
    context.provider().doCreateFolder(context.at(u"d"));
    context.provider().doMoveFile(context.at(u"f"), context.at(u"d/g"), policies::refuse);
    expectShared(context, *stream, u"d/g");
    context.provider().doRemoveFile(context.at(u"d/g"));
    seekTo(*stream, 0, fromBeginning);
    writeText(*stream, "alive");
    expect(!context.provider().doFileExists(context.at(u"f")),
           "a stream restores its file at the old location");
}

void streamFollowsEmptyMovedFile(CheckContext& context) {
    const IProvider& provider = context.provider();
    const auto stream = openStream(provider, context.at(u"f"));
    provider.doMoveFile(context.at(u"f"), context.at(u"g"), policies::refuse);
    writeText(*stream, "first");
    expectContent(context, u"g", "first", "after the first write of a stream opened before the move");
}

void streamFollowsMovedFolder(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"a"));
    provider.doCreateFolder(context.at(u"a/b"));
    makeFile(provider, context.at(u"a/b/f"), "0123456789");
    const auto stream = openStream(provider, context.at(u"a/b/f"));
    provider.doMoveFolder(context.at(u"a"), context.at(u"c"), policies::refuse);
    expectShared(context, *stream, u"c/b/f");
}

void streamKeepsReplacedFile(CheckContext& context) {
    const IProvider& provider = context.provider();
    const auto stream = openDigits(context);
    makeFile(provider, context.at(u"g"), "other");
    provider.doMoveFile(context.at(u"g"), context.at(u"f"), policies::replace);
    writeText(*stream, "ab");
    expectContent(context, u"f", "other", "after a write through a stream on the file that was replaced");
    expect(readRest(*stream) == "23456789", "a stream on a replaced file has lost its bytes");
}

void streamOutlivesProvider(CheckContext& context) {
    std::optional<LoadedProvider> provider(context.library().buildProvider());
    (*provider)->doCreateFolderRecursive(context.at(u""));
    makeFile(**provider, context.at(u"f"), "0123456789");
    const auto stream = openStream(**provider, context.at(u"f"));
    const auto reader = openForReading(**provider, context.at(u"f"));
    provider.reset();
    writeText(*stream, "ab");
    expect(readRest(*reader) == "ab23456789", "streams do not work after their provider is destroyed");
}

void streamsStampNothing(CheckContext& context) {
    const IProvider& provider = context.provider();
    const auto stream = openDigits(context);
    provider.doSetLastModified(context.at(u"f"), pastTime());
    provider.doSetLastModified(context.at(u""), pastTime());
    writeText(*stream, "abcdefghijkl");
    seekTo(*stream, 0, fromBeginning);
    readRest(*stream);
    expect(provider.doGetFileAttributes(context.at(u"f")).getLastModified() == pastTime() &&
               provider.doGetFolderAttributes(context.at(u"")).getLastModified() == pastTime(),
           "reading, writing or seeking changes a time");
}

void flagComesTooLateForOpenStreams(CheckContext& context) {
    const auto stream = openDigits(context);
    context.provider().doSetWritable(context.at(u"f"), false);
    writeText(*stream, "ab");
    expectContent(context, u"f", "ab23456789",
                  "after a write through a stream opened before the file was read-only");
    expect(!context.provider().doGetFileAttributes(context.at(u"f")).isWritable(),
           "writing makes a file writable");
    context.provider().doSetWritable(context.at(u"f"), true);
}

/// A stream and its expected state.
struct ModelledStream {
    std::unique_ptr<ByteStream> stream;
    bool appends;
    std::size_t position = 0;
};

/// Random operations on one file through several streams. The expected content is in a string.
class RandomSteps {
public:
    explicit RandomSteps(CheckContext& context) : context_(context) {
        for (int i = 0; i < 3; ++i) {
            streams_.push_back({openStream(context.provider(), context.at(u"f")), false});
            streams_.push_back({openToAppend(context.provider(), context.at(u"f")), true});
        }
    }

    void step() {
        ModelledStream& chosen = streams_[below(streams_.size())];
        switch (below(8)) {
        case 0:
        case 1:
        case 2:
            return write(chosen);
        case 3:
        case 4:
            return seek(chosen);
        case 5:
            return below(20) == 0 ? empty() : read(chosen);
        default:
            return read(chosen);
        }
    }

    void compare() {
        expect(contentOf(context_.provider(), context_.at(u"f")) == model_,
               "after random steps, the file holds other bytes than were written");
    }

private:
    std::size_t below(std::size_t limit) { return context_.random()() % limit; }

    /// Mostly small, sometimes close to a power of two.
    std::size_t count() {
        switch (below(8)) {
        case 0:
            return below(5000) + 1;
        case 1:
            return (std::size_t{1} << (below(8) + 6)) - 1 + below(3);
        default:
            return below(40) + 1;
        }
    }

    /// Sometimes the beginning, the end, or a multiple of a common block size.
    long target() {
        const auto size = static_cast<long>(model_.size());
        switch (below(8)) {
        case 0:
            return 0;
        case 1:
            return size;
        case 2:
            return static_cast<long>(below(model_.size() / 512 + 1) * 512);
        default:
            return static_cast<long>(below(model_.size() + 40)) - 20;
        }
    }

    void write(ModelledStream& chosen) {
        const std::string bytes(count(), static_cast<char>(context_.random()()));
        writeText(*chosen.stream, bytes);
        const std::size_t at = chosen.appends ? model_.size() : chosen.position;
        model_.replace(at, std::min(bytes.size(), model_.size() - at), bytes);
        chosen.position = at + bytes.size();
        expectPosition(chosen);
    }

    void read(ModelledStream& chosen) {
        const std::string bytes = readOnce(*chosen.stream, static_cast<long>(count()));
        const std::size_t left = model_.size() - chosen.position;
        expect(bytes.empty() == (left == 0) && bytes == model_.substr(chosen.position, bytes.size()),
               fmt::format("a read at position {} of {} bytes returns other bytes than were written",
                           chosen.position, model_.size()));
        chosen.position += bytes.size();
        expectPosition(chosen);
    }

    void seek(ModelledStream& chosen) {
        const auto size = static_cast<long>(model_.size());
        const auto position = static_cast<long>(chosen.position);
        const long wanted = target();
        const bool inside = wanted >= 0 && wanted <= size;
        const std::array<std::pair<std::ios_base::seekdir, long>, 3> ways{
            {{fromBeginning, wanted}, {fromPosition, wanted - position}, {fromEnd, wanted - size}}};
        const auto& [direction, offset] = ways[below(ways.size())];
        expect(seekTo(*chosen.stream, offset, direction) == (inside ? wanted : -1),
               fmt::format("a seek from position {} to {} of {} bytes returns a wrong position", position,
                           wanted, size));
        chosen.position = inside ? static_cast<std::size_t>(wanted) : chosen.position;
        expectPosition(chosen);
    }

    void empty() {
        openStream(context_.provider(), context_.at(u"f"), {.content = ByteStreamContent::Empty});
        model_.clear();
        for (ModelledStream& each : streams_) {
            each.position = 0;
            expect(seekTo(*each.stream, 0, fromBeginning) == 0, "a seek to the beginning of a file fails");
        }
    }

    static void expectPosition(ModelledStream& chosen) {
        expect(positionOf(*chosen.stream) == static_cast<long>(chosen.position),
               "after random steps, a stream has another position than the model");
    }

    CheckContext& context_;
    std::vector<ModelledStream> streams_;
    std::string model_;
};

void randomSteps(CheckContext& context) {
    RandomSteps steps(context);
    for (int i = 0; i < 4000; ++i) {
        steps.step();
        if (i % 100 == 0) {
            steps.compare();
        }
    }
    steps.compare();
}

void readsOfAnySize(CheckContext& context) {
    std::string bytes(600'001, '\0');
    for (char& each : bytes) {
        each = static_cast<char>(context.random()());
    }
    makeFile(context.provider(), context.at(u"f"), bytes);
    std::vector<long> sizes{100'000, 300'000, 1'000'000};
    for (long power = 64; power <= 1L << 19U; power *= 2) {
        sizes.insert(sizes.end(), {power - 1, power, power + 1});
    }
    for (const long size : sizes) {
        const auto stream = openForReading(context.provider(), context.at(u"f"));
        const auto first =
            static_cast<std::size_t>(std::max(0L, static_cast<long>(bytes.size()) - 16 * size));
        seekTo(*stream, static_cast<long>(first), fromBeginning);
        std::string seen(bytes, 0, first);
        std::string buffer(static_cast<std::size_t>(size) + 1, 'k');
        for (long count = 0; (count = stream->read(buffer.data(), size)) != -1;) {
            expect(count > 0 && count <= size && buffer.back() == 'k',
                   fmt::format("a read of {} bytes returns {}, or writes past its buffer", size, count));
            seen.append(buffer, 0, static_cast<std::size_t>(count));
            expect(positionOf(*stream) == static_cast<long>(seen.size()),
                   fmt::format("after a read of {} bytes the position is not after them", size));
        }
        expect(seen == bytes, fmt::format("reads of {} bytes return other bytes than were written", size));
    }
}

/// Writes bytes that text editors, archives or sparse files treat specially: alone, before text, after text,
/// and twice.
void bytesAreNotInterpreted(CheckContext& context) {
    const IProvider& provider = context.provider();
    const std::array<std::string, 16> special{"\xEF\xBB\xBF",
                                              "\xFF\xFE",
                                              "\xFE\xFF",
                                              "\r\n",
                                              "\n",
                                              "\r",
                                              "\x1A",
                                              "\x04",
                                              "\x1F\x8B",
                                              "PK\x03\x04",
                                              std::string(1, '\0'),
                                              "%00",
                                              "\\n",
                                              " \t ",
                                              "\x7F"
                                              "ELF",
                                              std::string(70'000, '\0')};
    for (const std::string& each : special) {
        for (const std::string& bytes : {each, each + "text", "text" + each, each + each}) {
            const auto stream = openStream(provider, context.at(u"f"), {.content = ByteStreamContent::Empty});
            writeText(*stream, bytes);
            seekTo(*stream, 0, fromBeginning);
            expect(readRest(*stream) == bytes && contentOf(provider, context.at(u"f")) == bytes &&
                       provider.doGetFileAttributes(context.at(u"f")).getSize() == bytes.size(),
                   fmt::format("{} bytes that begin with \"{}\" are not kept as written", bytes.size(),
                               printable(bytes.substr(0, 8))));
        }
    }
}

/// Writes `bytes` into a file of `size` others.
void expectOthersKept(CheckContext& context, std::size_t size, std::size_t at, const std::string& bytes) {
    std::string model(size, 'o');
    const auto stream =
        openStream(context.provider(), context.at(u"f"), {.content = ByteStreamContent::Empty});
    writeText(*stream, model);
    seekTo(*stream, static_cast<long>(at), fromBeginning);
    writeText(*stream, bytes);
    model.replace(at, bytes.size(), bytes);
    expect(contentOf(context.provider(), context.at(u"f")) == model,
           fmt::format("after writing {} bytes at position {} of {}, the file has other bytes than expected",
                       bytes.size(), at, size));
}

/// Replaces the beginning, the middle and the end of files of various sizes, also by zeros.
void overwritingKeepsTheOthers(CheckContext& context) {
    for (const std::size_t size : std::initializer_list<std::size_t>{1000, 4096, 70'000}) {
        for (const std::size_t count : std::initializer_list<std::size_t>{1, 100, 512, size / 2, size}) {
            for (const std::size_t at : {std::size_t{0}, size / 3, size - count / 2, size}) {
                for (const char byte : {'n', '\0'}) {
                    expectOthersKept(context, size, at, std::string(count, byte));
                }
            }
        }
    }
}

std::u16string numberedName(int number) {
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

void manyStreamsAtOnce(CheckContext& context) {
    constexpr int streamCount = 150;
    std::vector<std::unique_ptr<ByteStream>> own;
    std::vector<std::unique_ptr<ByteStream>> common;
    const std::string bytes(streamCount, 'c');
    makeFile(context.provider(), context.at(u"common"), bytes);
    for (int i = 0; i < streamCount; ++i) {
        own.push_back(openStream(context.provider(), context.at(u"own-" + numberedName(i))));
        common.push_back(openForReading(context.provider(), context.at(u"common")));
        seekTo(*common.back(), i, fromBeginning);
    }
    for (int i = 0; i < streamCount; ++i) {
        writeText(*own[static_cast<std::size_t>(i)], std::to_string(i));
    }
    for (int i = 0; i < streamCount; ++i) {
        expect(positionOf(*common[static_cast<std::size_t>(i)]) == i,
               fmt::format("of {} streams on one file, two share a position", streamCount));
        expectContent(context, u"own-" + numberedName(i), std::to_string(i),
                      fmt::format("with {} streams open, each on a file of its own", streamCount));
    }
}

/// Reads a file with these bytes, with several block sizes in turn.
void expectReadable(CheckContext& context, const StorageIRI& file, const std::string& bytes) {
    const auto stream = openForReading(context.provider(), file);
    const auto size = static_cast<long>(bytes.size());
    expect(seekTo(*stream, size, fromBeginning) == size && seekTo(*stream, size + 1, fromBeginning) == -1 &&
               seekTo(*stream, 0, fromEnd) == size && readOnce(*stream, 1).empty(),
           fmt::format("a stream on a file of {0} bytes does not end at position {0}", size));
    for (const long block : {size - 1, size, 4096L}) {
        seekTo(*stream, 0, fromBeginning);
        std::string seen;
        for (std::string part; block > 0 && !(part = readOnce(*stream, block)).empty();) {
            seen += part;
        }
        expect(block <= 0 || seen == bytes,
               fmt::format("reads of {} bytes do not return the bytes of a file of {} bytes", block, size));
    }
    expect(size == 0 || (seekTo(*stream, -1, fromEnd) == size - 1 && readOnce(*stream, 1)[0] == bytes.back()),
           fmt::format("the last byte of a file of {} bytes cannot be read alone", size));
}

/// Expects that a file is protected like any other: against new entries, and by its flag.
void expectProtected(CheckContext& context, const StorageIRI& file) {
    const IProvider& provider = context.provider();
    expectFailure([&] { provider.doCreateFile(file); }, ErrorCode::AlreadyExists, file,
                  "creating a file again");
    expectFailure([&] { provider.doCreateFolder(file); }, ErrorCode::AlreadyExists, file,
                  "creating a folder where a file exists");
    const WriteProtection protection(provider, file);
    expect(!provider.doGetFileAttributes(file).isWritable(), "a file that was made read-only is writable");
    expectFailure([&] { provider.doRemoveFile(file); }, ErrorCode::ReadOnly, file,
                  "removing a read-only file");
    expectFailure([&] { openToAppend(provider, file); }, ErrorCode::ReadOnly, file,
                  "opening a read-only file for writing");
}

/// Repeats other checks with files of one size.
void expectSizeIsOrdinary(CheckContext& context, std::size_t size) {
    const IProvider& provider = context.provider();
    const auto expectFile = [&](std::u16string_view path, const std::string& bytes, const char* occasion) {
        expect(provider.doGetFileAttributes(context.at(path)).getSize() == bytes.size() &&
                   contentOf(provider, context.at(path)) == bytes,
               fmt::format("{}, with {} bytes, a file has other bytes than expected", occasion, size));
    };
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>(i % 251); // a prime, so that no two blocks are alike
    }
    makeFile(provider, context.at(u"f"), bytes);
    expectProtected(context, context.at(u"f"));
    expectFile(u"f", bytes, "after one write");
    expectReadable(context, context.at(u"f"), bytes);
    provider.doCopyFile(context.at(u"f"), context.at(u"g"), policies::refuse);
    writeText(*openToAppend(provider, context.at(u"g")), "x");
    expectFile(u"g", bytes + "x", "after a copy and an append");
    provider.doTruncateToSize(context.at(u"g"), size);
    expectFile(u"g", bytes, "after a truncation");
    writeText(*openToAppend(provider, context.at(u"g")), bytes);
    expectFile(u"g", bytes + bytes, "after an append");
    provider.doMoveFile(context.at(u"f"), context.at(u"h"), policies::refuse);
    expectFile(u"h", bytes, "after a move");
    provider.doMoveFile(context.at(u"h"), context.at(u"g"), policies::replace);
    expectFile(u"g", bytes, "after replacing a file");
    openStream(provider, context.at(u"g"), {.content = ByteStreamContent::Empty});
    expectFile(u"g", "", "after being emptied");
    provider.doTruncateToSize(context.at(u"g"), size);
    expectFile(u"g", std::string(size, '\0'), "after growing");
    provider.doRemoveFile(context.at(u"g"));
    expect(provider.doListAllNamesOnly(context.at(u"")).empty(),
           fmt::format("files of {} bytes still exist after they were moved and removed", size));
}

void blockSizesAreOrdinary(CheckContext& context) {
    for (const std::size_t size :
         std::initializer_list<std::size_t>{0, 1, 2, 4095, 4096, 4097, 65'535, 65'536, 65'537, 1U << 20U}) {
        expectSizeIsOrdinary(context, size);
    }
}

constexpr std::array table{
    Check{"8.1", "streams.every-byte", "Bytes of every value are read back as written.", Profile::AnyProvider,
          everyByteIsKept},
    Check{"8.2", "streams.large-write", "Several MiB that one call writes are read back as written.",
          Profile::AnyProvider, largeWriteIsKept},
    Check{"8.3", "streams.write-moves-position", "A write returns its count and advances the position by it.",
          Profile::AnyProvider, writeAdvancesPosition},
    Check{"8.4", "streams.write-overwrites",
          "A write overwrites bytes at the position and extends the file as needed.", Profile::AnyProvider,
          writingOverwritesAndGrows},
    Check{"8.5", "streams.write-nothing", "Writing 0 bytes returns 0 and changes no byte.",
          Profile::AnyProvider, writingNothingChangesNothing},
    Check{
        "8.6", "streams.read-moves-position",
        "A read returns at least one byte unless at the end, and advances the position by what it returned.",
        Profile::AnyProvider, readAdvancesPosition},
    Check{"8.7", "streams.read-at-end", "A read at the end returns -1 and does not move the position.",
          Profile::AnyProvider, readingAtTheEndGivesNothing},
    Check{"8.8", "streams.read-nothing", "A read of 0 bytes returns -1 and does not move the position.",
          Profile::AnyProvider, readingNothingGivesNothing},
    Check{"8.9", "streams.read-stops-at-end",
          "A read of more bytes than remain returns at most those, and leaves the rest of the buffer "
          "unchanged.",
          Profile::AnyProvider, readingStopsAtTheEnd},
    Check{"8.10", "streams.seek",
          "A seek from the beginning, the position or the end returns the new position.",
          Profile::AnyProvider, seekingInEveryDirection},
    Check{"8.11", "streams.seek-to-end", "The end of the file is a valid position.", Profile::AnyProvider,
          seekingToTheEnd},
    Check{"8.12", "streams.seek-outside",
          "A seek before the beginning or past the end returns -1 and does not move the position.",
          Profile::AnyProvider, seekingOutsideFails},
    Check{"8.13", "streams.seek-unknown-direction",
          "A seek in an unknown direction returns -1 and does not move the position.",
          Profile::InMemoryProvider, seekingInNoDirectionFails},
    Check{"8.14", "streams.flush", "A flush changes neither bytes nor position.", Profile::AnyProvider,
          flushChangesNothing},
    Check{"8.15", "streams.shared-bytes",
          "Every other stream on the file reads what one stream has written and flushed.",
          Profile::AnyProvider, streamsShareBytes},
    Check{"8.16", "streams.visible-at-once", "A write is visible to every other stream without a flush.",
          Profile::InMemoryProvider, writesAreVisibleAtOnce},
    Check{"8.17", "streams.own-position", "Every stream has its own position.", Profile::AnyProvider,
          positionsAreIndependent},
    Check{"8.18", "streams.append",
          "A write of a stream that appends goes to the end from any position, and moves the position there.",
          Profile::AnyProvider, appendingGoesToTheEnd},
    Check{"8.19", "streams.two-appenders", "Streams that append to one file in turn lose nothing.",
          Profile::AnyProvider, appendersLoseNothing},
    Check{
        "8.20", "streams.position-behind-end",
        "After a file is emptied, a stream at a later position reads nothing until it seeks, and then works "
        "again.",
        Profile::AnyProvider, positionBehindTheEnd},
    Check{"8.21", "streams.write-behind-end",
          "A write at a position past the end goes to the end; no gap is filled.", Profile::InMemoryProvider,
          writingBehindTheEnd},
    Check{"8.22", "streams.append-nothing", "Appending 0 bytes moves the position to the end.",
          Profile::InMemoryProvider, appendingNothingMovesToTheEnd},
    Check{"8.23", "streams.grow-too-far",
          "An append that no memory could hold fails with std::length_error or std::bad_alloc; the file is "
          "unchanged.",
          Profile::InMemoryProvider, growingTooFarFails},
    Check{"8.24", "streams.outlive-removal", "Streams on a removed file remain usable and share its bytes.",
          Profile::AnyProvider, streamOutlivesRemoval},
    Check{"8.25", "streams.removed-stays-removed",
          "A stream on a removed file neither restores it nor affects a new file of that name.",
          Profile::AnyProvider, removedFileStaysRemoved},
    Check{"8.26", "streams.follow-moved-file",
          "A stream opened before its file was moved shares the bytes at the new location.",
          Profile::InMemoryProvider, streamFollowsMovedFile},
    Check{"8.27", "streams.follow-empty-moved-file",
          "After an empty file is moved, a stream opened before writes to the file at the new location.",
          Profile::InMemoryProvider, streamFollowsEmptyMovedFile},
    Check{"8.28", "streams.follow-moved-folder",
          "A stream opened before a folder above its file was moved shares the bytes at the new location.",
          Profile::InMemoryProvider, streamFollowsMovedFolder},
    Check{"8.29", "streams.keep-replaced-file",
          "A stream on a file that a move replaced keeps the old bytes.", Profile::InMemoryProvider,
          streamKeepsReplacedFile},
    Check{"8.30", "streams.outlive-provider", "Streams remain usable after their provider is destroyed.",
          Profile::AnyProvider, streamOutlivesProvider},
    Check{"8.31", "streams.stamp-nothing", "Reading, writing and seeking change no time.",
          Profile::InMemoryProvider, streamsStampNothing},
    Check{"8.32", "streams.flag-comes-too-late",
          "A stream opened before its file became read-only can still write.", Profile::InMemoryProvider,
          flagComesTooLateForOpenStreams},
    Check{"8.33", "streams.random-steps", "Random operations of several streams agree with a model.",
          Profile::AnyProvider, randomSteps},
    Check{"8.34", "streams.reads-of-any-size", "A read of any size returns the bytes that come next.",
          Profile::AnyProvider, readsOfAnySize},
    Check{"8.35", "streams.many-at-once", "Hundreds of streams can be open at once, on one file and on many.",
          Profile::AnyProvider, manyStreamsAtOnce},
    Check{"8.36", "streams.bytes-not-interpreted",
          "Line ends, byte order marks, zeros and other special bytes are ordinary bytes.",
          Profile::AnyProvider, bytesAreNotInterpreted},
    Check{"8.37", "streams.overwriting-keeps-others",
          "A write of any size at any position changes no byte before or after it.", Profile::AnyProvider,
          overwritingKeepsTheOthers},
    Check{"8.38", "streams.block-sizes",
          "A file with the size of a common block, or a byte more or less, is like any other.",
          Profile::AnyProvider, blockSizesAreOrdinary},
};

} // namespace
} // namespace reading_and_writing_checks

std::span<const Check> readingAndWriting() {
    return reading_and_writing_checks::table;
}

} // namespace storage::host::checks
