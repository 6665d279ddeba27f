#include "tests/memory/Operations.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>
#include <array>
#include <string>

namespace storage::tests {

using namespace provider;
using Shape = TreeShape;
using Role = TreeShape::Role TreeShape::*;
using enum Operation::Allocates;

namespace {

constexpr ByteStreamOpenOptions keep{};
constexpr ByteStreamOpenOptions append{.append = ByteStreamAppend::AppendAtEnd};

constexpr long startOfStream = 5;

constexpr std::size_t plenty = 400; // exceeds the size and the capacity of every file in the trees

const std::string& text() {
    static const std::string bytes = [] {
        std::string digits;
        while (digits.size() < plenty) {
            digits += std::to_string(digits.size());
        }
        digits.resize(plenty);
        return digits;
    }();
    return bytes;
}

/// An operation with a single call: `call` with a stream on the file at `role`, opened with `options`. Its
/// position is `startOfStream`, or 0 if the file is shorter.
template <class Call>
Operation onStream(std::string name, Role role, ByteStreamOpenOptions options, Call call) {
    const auto prepare = [=](IProvider& provider, const TreeShape& shape) {
        const std::shared_ptr<ByteStream> stream = provider.doOpenStream(*(shape.*role), options);
        stream->seek(startOfStream, std::ios_base::beg);
        const auto answer = std::make_shared<std::string>();
        answer->reserve(plenty);
        return Attempt{[=] { call(*stream, *answer); }, [=] { return *answer + described(*stream); }};
    };
    return {.name = std::move(name), .needs = {role}, .prepare = prepare};
}

/// Writes the first `count` bytes of the text.
Operation writing(std::string name, Role role, ByteStreamOpenOptions options, std::size_t count) {
    return onStream(std::move(name), role, options, [count](ByteStream& stream, std::string&) {
        EXPECT_EQ(stream.write(text().data(), static_cast<long>(count)), static_cast<long>(count));
    });
}

Operation seeking(std::string name, long offset, std::ios_base::seekdir direction) {
    return onStream(std::move(name), &Shape::file, keep,
                    [=](ByteStream& stream, std::string&) { stream.seek(offset, direction); })
        .allocating(Never);
}

Operation reading(std::string name, long count) {
    return onStream(std::move(name), &Shape::file, keep,
                    [count](ByteStream& stream, std::string& answer) {
                        std::array<char, plenty> buffer{};
                        const long got = stream.read(buffer.data(), count);
                        answer.assign(buffer.data(), static_cast<std::size_t>(std::max(got, 0L)));
                    })
        .allocating(Never);
}

/// A write across the end of a file without spare capacity. The position shows how much was written.
Operation writingOverTheEnd() {
    const auto prepare = [](IProvider& provider, const TreeShape& shape) {
        const std::shared_ptr<ByteStream> stream = provider.doOpenStream(*shape.file, keep);
        stream->seek(startOfStream, std::ios_base::beg);
        return Attempt{.run = [=] { stream->write(text().data(), static_cast<long>(plenty)); },
                       .result = [=] { return described(*stream); },
                       .finish =
                           [=, &shape](const TreeSnapshot& before) {
                               const auto position = std::streamoff(stream->seek(0, std::ios_base::cur));
                               EXPECT_EQ(position, before.at(pathOf(*shape.file)).bytes.size());
                               const auto rest =
                                   text().substr(static_cast<std::size_t>(position - startOfStream));
                               stream->write(rest.data(), static_cast<long>(rest.size()));
                           }};
    };
    return {.name = "writeOverTheEnd",
            .needs = {&Shape::file},
            .prepare = prepare,
            .allocates = Always,
            .guarantee = partlyWritten(&Shape::file)};
}

/// Closes the only stream on a file. `beforehand` is called between opening and closing.
Operation closing(std::string name, std::function<void(IProvider&, const TreeShape&)> beforehand) {
    const auto prepare = [=](IProvider& provider, const TreeShape& shape) {
        const auto stream =
            std::make_shared<std::unique_ptr<ByteStream>>(provider.doOpenStream(*shape.file, keep));
        beforehand(provider, shape);
        return Attempt{[=] { stream->reset(); }, [] { return std::string(); }};
    };
    return {.name = std::move(name), .needs = {&Shape::file}, .prepare = prepare, .allocates = Never};
}

} // namespace

std::vector<Operation> streamOperations() {
    return {
        reading("readSomeBytes", 3),
        reading("readToTheEnd", static_cast<long>(plenty)),
        reading("readNothing", 0),
        seeking("seekFromTheBeginning", 2, std::ios_base::beg),
        seeking("seekFromThePosition", 2, std::ios_base::cur),
        seeking("seekFromTheEnd", -2, std::ios_base::end),
        seeking("seekToNowhere", -startOfStream - 1, std::ios_base::cur),
        onStream("flush", &Shape::file, keep, [](ByteStream& stream, std::string&) { stream.flush(); })
            .allocating(Never),
        writing("writeInside", &Shape::file, keep, 3).allocating(Never),
        writing("writeNothing", &Shape::file, append, 0).allocating(Never),
        writingOverTheEnd(),
        writing("appendToAFullFile", &Shape::file, append, 1).allocating(Always),
        writing("appendIntoTheRoomThereIs", &Shape::roomyFile, append, 3).allocating(Never),
        writing("appendMoreThanThereIsRoomFor", &Shape::roomyFile, append, plenty).allocating(Always),
        writing("writeIntoAnEmptyFile", &Shape::emptyFile, keep, plenty).allocating(Always),
        closing("close", [](auto&, auto&) {}),
        closing("closeAfterTheFileIsGone", [](auto& p, auto& s) { p.doRemoveFile(*s.file); }),
    };
}

} // namespace storage::tests
