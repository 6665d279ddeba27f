#include "host/validate/checks/CheckCatalogue.h"
#include "host/validate/kit/CheckContext.h"
#include "host/validate/kit/Expectations.h"
#include "host/validate/kit/StreamSteps.h"
#include "host/validate/kit/Times.h"
#include "host/validate/kit/TreeDescription.h"
#include "host/validate/kit/WriteProtection.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <limits>

namespace storage::host::checks {

using namespace provider;

namespace opening_stream_checks {
namespace {

constexpr ByteStreamOpenOptions mustExist{.existence = ByteStreamExistence::MustExist};
constexpr ByteStreamOpenOptions emptied{.content = ByteStreamContent::Empty};
constexpr ByteStreamOpenOptions mustExistEmptied{.existence = ByteStreamExistence::MustExist,
                                                 .content = ByteStreamContent::Empty};
constexpr ByteStreamOpenOptions appending{.append = ByteStreamAppend::AppendAtEnd};
constexpr std::array everyWay{ByteStreamOpenOptions{}, mustExist, emptied, mustExistEmptied, appending};

/// Option values without an enumerator. Every provider must treat them like the default.
constexpr std::array<std::int32_t, 10> unnamedNumbers{2,
                                                      3,
                                                      4,
                                                      7,
                                                      8,
                                                      16,
                                                      256,
                                                      -1,
                                                      std::numeric_limits<std::int32_t>::max(),
                                                      std::numeric_limits<std::int32_t>::min()};

bool isWithin(const boost::posix_time::ptime& time, const boost::posix_time::ptime& first,
              const boost::posix_time::ptime& last) {
    return first <= time && time <= last;
}

void missingFileIsCreated(CheckContext& context) {
    const IProvider& provider = context.provider();
    for (const ByteStreamOpenOptions& options : {ByteStreamOpenOptions{}, emptied, appending}) {
        const StorageIRI file = context.at(u"f");
        const auto stream = openStream(provider, file, options);
        expect(provider.doFileExists(file), "opening a missing file does not create it");
        expect(readRest(*stream).empty(), "a file created by opening it is not empty");
        expect(provider.doGetFileAttributes(file).isWritable(), "a file created by opening it is read-only");
        provider.doRemoveFile(file);
    }
}

void missingFileMustExist(CheckContext& context) {
    const StorageIRI file = context.at(u"f");
    for (const ByteStreamOpenOptions& options : {mustExist, mustExistEmptied}) {
        expectRefusal(
            context, [&] { openStream(context.provider(), file, options); }, ErrorCode::NotFound, file,
            "opening a missing file that must exist");
    }
}

void contentIsKept(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI file = context.at(u"f");
    makeFile(provider, file, "0123456789");
    for (const ByteStreamOpenOptions& options : {ByteStreamOpenOptions{}, mustExist, appending}) {
        openStream(provider, file, options);
        expect(contentOf(provider, file) == "0123456789", "opening a file to keep its bytes changes them");
    }
}

void contentIsEmptied(CheckContext& context) {
    const IProvider& provider = context.provider();
    for (const ByteStreamOpenOptions& options : {emptied, mustExistEmptied}) {
        const StorageIRI file = context.at(u"f");
        makeFile(provider, file, "0123456789");
        const auto stream = openStream(provider, file, options);
        expect(readRest(*stream).empty(), "a stream that empties its file has bytes to read");
        expect(contentOf(provider, file).empty(), "opening a file to empty it leaves bytes in it");
        expect(provider.doGetFileAttributes(file).getSize() == 0, "the size of an emptied file is not 0");
        provider.doRemoveFile(file);
    }
}

void emptyingIsSeenByOthers(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI file = context.at(u"f");
    makeFile(provider, file, "0123456789");
    const auto other = openForReading(provider, file);
    openStream(provider, file, emptied);
    expect(readRest(*other).empty(), "a stream still reads bytes that another opening has removed");
}

void streamsBeginAtTheBeginning(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI file = context.at(u"f");
    makeFile(provider, file, "0123456789");
    expect(positionOf(*openStream(provider, file)) == 0, "a stream for writing does not begin at position 0");
    expect(positionOf(*openForReading(provider, file)) == 0,
           "a stream for reading does not begin at position 0");
    expect(readRest(*openForReading(provider, file)) == "0123456789",
           "a new stream does not read the file from its beginning");
}

void appendingStreamsBeginAtTheBeginning(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI file = context.at(u"f");
    makeFile(provider, file, "0123456789");
    const auto stream = openToAppend(provider, file);
    expect(positionOf(*stream) == 0 && readRest(*stream) == "0123456789",
           "a stream that appends does not begin at position 0");
}

void missingFileForReading(CheckContext& context) {
    const StorageIRI file = context.at(u"f");
    expectRefusal(
        context, [&] { openForReading(context.provider(), file); }, ErrorCode::NotFound, file,
        "opening a missing file for reading");
}

/// Expects that opening `file` fails with `NotFound` with all options.
void expectUnreachable(CheckContext& context, const StorageIRI& file, std::string_view operation) {
    for (const ByteStreamOpenOptions& options : everyWay) {
        expectRefusal(
            context, [&] { openStream(context.provider(), file, options); }, ErrorCode::NotFound, file,
            operation);
    }
    expectRefusal(
        context, [&] { openForReading(context.provider(), file); }, ErrorCode::NotFound, file, operation);
}

void folderAboveIsMissing(CheckContext& context) {
    expectUnreachable(context, context.at(u"missing/f"), "opening a file in a missing folder");
}

void fileAboveIsNoFolder(CheckContext& context) {
    makeFile(context.provider(), context.at(u"f"), "kept");
    expectUnreachable(context, context.at(u"f/g"), "opening a file below a file");
}

void readOnlyFileIsRefused(CheckContext& context) {
    const IProvider& provider = context.provider();
    for (const std::string_view bytes : {"kept", ""}) {
        const StorageIRI file = context.at(bytes.empty() ? u"empty" : u"f");
        makeFile(provider, file, bytes);
        const WriteProtection protection(provider, file);
        for (const ByteStreamOpenOptions& options : everyWay) {
            expectRefusal(
                context, [&] { openStream(provider, file, options); }, ErrorCode::ReadOnly, file,
                "opening a read-only file for writing");
        }
    }
}

void readOnlyFileIsReadable(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"d"));
    const StorageIRI file = context.at(u"d/f");
    makeFile(provider, file, "bytes");
    const WriteProtection folderProtection(provider, context.at(u"d"));
    const WriteProtection protection(provider, file);
    expect(contentOf(provider, file) == "bytes", "a read-only file in a read-only folder has other bytes");
}

void creatingInReadOnlyFolderIsRefused(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"d"));
    const WriteProtection protection(provider, context.at(u"d"));
    const StorageIRI file = context.at(u"d/f");
    for (const ByteStreamOpenOptions& options : {ByteStreamOpenOptions{}, emptied, appending}) {
        expectRefusal(
            context, [&] { openStream(provider, file, options); }, ErrorCode::ReadOnly, file,
            "opening a missing file in a read-only folder");
    }
}

void existingFileInReadOnlyFolderOpens(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"d"));
    const StorageIRI file = context.at(u"d/f");
    makeFile(provider, file, "old");
    const WriteProtection protection(provider, context.at(u"d"));
    writeText(*openStream(provider, file), "new");
    expect(contentOf(provider, file) == "new", "a write to a file in a read-only folder is lost");
}

void folderIsNoFile(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI folder = context.at(u"d");
    provider.doCreateFolder(folder);
    const auto expectRefused = [&](const std::function<void()>& open) {
        try {
            open();
        } catch (const Exception& failure) {
            expect(failure.getIRI() == folder, "opening a folder fails, but names another location");
            return;
        }
        expect(false, "opening a folder succeeds");
    };
    const std::string before = describeTree(provider, context.at(u""));
    for (const ByteStreamOpenOptions& options : everyWay) {
        expectRefused([&] { openStream(provider, folder, options); });
    }
    expectRefused([&] { openForReading(provider, folder); });
    expect(describeTree(provider, context.at(u"")) == before, "opening a folder changes something");
}

void codesOfFolder(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI folder = context.at(u"d");
    provider.doCreateFolder(folder);
    for (const ByteStreamOpenOptions& options : everyWay) {
        expectRefusal(
            context, [&] { openStream(provider, folder, options); }, ErrorCode::AlreadyExists, folder,
            "opening a folder for writing");
    }
    expectRefusal(
        context, [&] { openForReading(provider, folder); }, ErrorCode::NotFound, folder,
        "opening a folder for reading");
}

void orderOfTests(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"d"));
    provider.doCreateFolder(context.at(u"d/sub"));
    const WriteProtection protection(provider, context.at(u"d"));
    const WriteProtection folderProtection(provider, context.at(u"d/sub"));
    expectRefusal(
        context, [&] { openStream(provider, context.at(u"d/sub"), mustExist); }, ErrorCode::AlreadyExists,
        context.at(u"d/sub"), "opening a read-only folder in a read-only folder as a file that must exist");
    expectRefusal(
        context, [&] { openStream(provider, context.at(u"d/f"), mustExist); }, ErrorCode::NotFound,
        context.at(u"d/f"), "opening a missing file that must exist in a read-only folder");
}

void openingForWritingStamps(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI file = context.at(u"f");
    for (const ByteStreamOpenOptions& options : everyWay) {
        openStream(provider, file);
        provider.doSetLastModified(file, pastTime());
        provider.doSetLastModified(context.at(u""), pastTime());
        const auto before = utcNow();
        openStream(provider, file, options);
        expect(isWithin(provider.doGetFileAttributes(file).getLastModified(), before, utcNow()),
               "opening an existing file for writing does not stamp it with the current time");
        expect(provider.doGetFolderAttributes(context.at(u"")).getLastModified() == pastTime(),
               "opening an existing file stamps its folder");
    }
}

void creationStamps(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI folder = context.at(u"");
    provider.doSetLastModified(folder, pastTime());
    const auto before = utcNow();
    openStream(provider, context.at(u"f"));
    const auto time = provider.doGetFileAttributes(context.at(u"f")).getLastModified();
    expect(isWithin(time, before, utcNow()), "a file created by opening it does not have the current time");
    expect(provider.doGetFolderAttributes(folder).getLastModified() == time,
           "a file created by opening it and its folder have different times");
}

void readingStampsNothing(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI file = context.at(u"f");
    makeFile(provider, file, "bytes");
    provider.doSetLastModified(file, pastTime());
    readRest(*openForReading(provider, file));
    expect(provider.doGetFileAttributes(file).getLastModified() == pastTime(),
           "opening a file for reading stamps it");
}

void unnamedNumbersMeanTheDefault(CheckContext& context) {
    const IProvider& provider = context.provider();
    for (const std::int32_t number : unnamedNumbers) {
        const StorageIRI file = context.at(u"f");
        openStream(provider, file, {.existence = static_cast<ByteStreamExistence>(number)});
        expect(provider.doFileExists(file),
               fmt::format("existence {} does not create a missing file", number));
        writeText(*openStream(provider, file), "0123456789");
        const auto stream = openStream(provider, file,
                                       {.content = static_cast<ByteStreamContent>(number),
                                        .append = static_cast<ByteStreamAppend>(number)});
        writeText(*stream, "ab");
        expect(
            contentOf(provider, file) == "ab23456789",
            fmt::format("the value {0} as content or append option is not treated like the default", number));
        provider.doRemoveFile(file);
    }
}

void hintChangesNothing(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI file = context.at(u"f");
    makeFile(provider, file, "0123456789");
    const auto expectNoEffect = [&](std::int32_t hint) {
        writeText(*openStream(provider, file, {.hint = hint}), "ab");
        expect(contentOf(provider, file) == "ab23456789",
               fmt::format("hint {} changes what a stream does", hint));
    };
    expectNoEffect(1);
    std::for_each(unnamedNumbers.begin(), unnamedNumbers.end(), expectNoEffect);
}

void rootIsNoFile(CheckContext& context) {
    expectUnreachable(context, StorageIRI(u"/"), "opening the root");
}

/// Opens a missing and an existing file with every combination of named and unnamed values, and writes to it.
void optionsAreIndependent(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI file = context.at(u"f");
    for (int combination = 0; combination < 3 * 3 * 3 * 2; ++combination) {
        constexpr std::array<std::int32_t, 3> values{0, 1, 5};
        const auto value = [&](int divisor) {
            return values[static_cast<std::size_t>(combination / divisor % 3)];
        };
        const ByteStreamOpenOptions options{value(9), static_cast<ByteStreamExistence>(value(3)),
                                            static_cast<ByteStreamContent>(value(1)),
                                            static_cast<ByteStreamAppend>(value(9))};
        const bool exists = combination % 2 == 0;
        const std::string shown =
            fmt::format("{} file that is opened with the values {}, {} and {}",
                        exists ? "an existing" : "a missing", value(3), value(1), value(9));
        if (exists) {
            makeFile(provider, file, "0123456789");
        } else if (options.existence == ByteStreamExistence::MustExist) {
            expectFailure([&] { openStream(provider, file, options); }, ErrorCode::NotFound, file, shown);
            continue;
        }
        std::string model = exists && options.content != ByteStreamContent::Empty ? "0123456789" : "";
        const auto stream = openStream(provider, file, options);
        expect(contentOf(provider, file) == model, fmt::format("{} has other bytes than expected", shown));
        const std::size_t position = std::min<std::size_t>(model.size(), 3);
        seekTo(*stream, static_cast<long>(position), std::ios_base::beg);
        writeText(*stream, "ab");
        model.replace(options.append == ByteStreamAppend::AppendAtEnd ? model.size() : position, 2, "ab");
        expect(contentOf(provider, file) == model, fmt::format("{} has other bytes after a write", shown));
        provider.doRemoveFile(file);
    }
}

constexpr std::array table{
    Check{"7.1", "opening.missing-file-is-created",
          "Opening a missing file for writing creates it, empty and writable, unless it must exist.",
          Profile::AnyProvider, missingFileIsCreated},
    Check{"7.2", "opening.must-exist",
          "Opening a missing file that must exist fails with NotFound and creates nothing.",
          Profile::AnyProvider, missingFileMustExist},
    Check{"7.3", "opening.content-is-kept", "Opening a file with Keep leaves its bytes unchanged.",
          Profile::AnyProvider, contentIsKept},
    Check{"7.4", "opening.content-is-emptied",
          "Opening a file with Empty empties it at once, even if nothing is written.", Profile::AnyProvider,
          contentIsEmptied},
    Check{"7.5", "opening.emptying-is-seen",
          "Streams that are already open see that another opening has emptied the file.",
          Profile::AnyProvider, emptyingIsSeenByOthers},
    Check{"7.6", "opening.position-is-the-beginning",
          "A new stream, for reading or for writing at its position, begins at position 0.",
          Profile::AnyProvider, streamsBeginAtTheBeginning},
    Check{"7.7", "opening.append-begins-at-the-beginning",
          "A stream that appends begins at position 0 too; its writes go to the end.",
          Profile::InMemoryProvider, appendingStreamsBeginAtTheBeginning},
    Check{"7.8", "opening.missing-file-for-reading",
          "Opening a missing file for reading fails with NotFound and creates nothing.", Profile::AnyProvider,
          missingFileForReading},
    Check{"7.9", "opening.missing-folder",
          "Opening a file in a missing folder fails with NotFound naming the file.", Profile::AnyProvider,
          folderAboveIsMissing},
    Check{"7.10", "opening.below-a-file",
          "Opening a file below a file fails with NotFound naming the file to be opened.",
          Profile::AnyProvider, fileAboveIsNoFolder},
    Check{"7.11", "opening.read-only-file",
          "Opening a read-only file for writing fails with ReadOnly and does not empty it.",
          Profile::AnyProvider, readOnlyFileIsRefused},
    Check{"7.12", "opening.read-only-file-for-reading",
          "A read-only file in a read-only folder can be opened for reading.", Profile::AnyProvider,
          readOnlyFileIsReadable},
    Check{"7.13", "opening.read-only-folder",
          "Opening a missing file in a read-only folder fails with ReadOnly naming the file.",
          Profile::AnyProvider, creatingInReadOnlyFolderIsRefused},
    Check{"7.14", "opening.existing-in-read-only-folder",
          "A writable file in a read-only folder can be opened for writing.", Profile::AnyProvider,
          existingFileInReadOnlyFolderOpens},
    Check{"7.15", "opening.folder-is-no-file", "Opening a folder fails, naming the folder.",
          Profile::AnyProvider, folderIsNoFile},
    Check{"7.16", "opening.codes-of-a-folder",
          "Opening a folder fails with AlreadyExists for writing and with NotFound for reading.",
          Profile::InMemoryProvider, codesOfFolder},
    Check{"7.17", "opening.order-of-tests",
          "If several causes apply, a folder at the location is reported first, then a missing file, then a "
          "read-only folder.",
          Profile::InMemoryProvider, orderOfTests},
    Check{"7.18", "opening.stamps-the-file",
          "Opening an existing file for writing stamps the file with the current time, and nothing else.",
          Profile::InMemoryProvider, openingForWritingStamps},
    Check{"7.19", "opening.creation-stamps-both",
          "Opening a missing file stamps the new file and its folder with the same current time.",
          Profile::InMemoryProvider, creationStamps},
    Check{"7.20", "opening.reading-stamps-nothing", "Opening a file for reading does not change its time.",
          Profile::InMemoryProvider, readingStampsNothing},
    Check{"7.21", "opening.numbers-without-a-name",
          "An option value without a name means CreateIfMissing, Keep or WriteAtPosition.",
          Profile::AnyProvider, unnamedNumbersMeanTheDefault},
    Check{"7.22", "opening.hint", "The hint of the open options has no visible effect.", Profile::AnyProvider,
          hintChangesNothing},
    Check{"7.23", "opening.root", "Opening the root as a file fails with NotFound, whatever the options.",
          Profile::InMemoryProvider, rootIsNoFile},
    Check{"7.24", "opening.options-are-independent",
          "Each open option does the same in every combination with the others.", Profile::AnyProvider,
          optionsAreIndependent},
};

} // namespace
} // namespace opening_stream_checks

std::span<const Check> openingStreams() {
    return opening_stream_checks::table;
}

} // namespace storage::host::checks
