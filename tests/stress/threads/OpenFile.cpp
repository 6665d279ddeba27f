#include "tests/stress/threads/OpenFile.h"

#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/stress/Violation.h"
#include "tests/support/Record.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <utility>

namespace storage::stress {

using tests::Record;

namespace {

/// Bounds the memory of the test. A file may exceed it by one write per thread.
constexpr long largestFile = 16 * Record::size;

constexpr std::size_t mostRecords = 4;

} // namespace

OpenFile::OpenFile(std::unique_ptr<provider::ByteStream> stream, Access access)
    : stream_(std::move(stream)), access_(access) {
    requireThat(stream_ != nullptr, "no stream was returned");
}

void OpenFile::use(Random& random) {
    switch (pick(random, access_ == Access::Read ? 2 : 3)) {
    case 0:
        readSome();
        break;
    case 1:
        seekSomewhere(random);
        break;
    default:
        writeSome(random);
        break;
    }
}

std::uint64_t OpenFile::readThrough() {
    requireThat(stream_->seek(0, std::ios_base::beg) == std::streampos(0), "seek to the beginning fails");
    std::uint64_t total = 0;
    while (const std::uint64_t count = readSome()) {
        total += count;
    }
    return total;
}

std::uint64_t OpenFile::readSome() {
    std::array<Record, mostRecords> records;
    const long count = stream_->read(records.front().bytes(), static_cast<long>(sizeof records));
    if (count == -1) {
        return 0;
    }
    requireThat(count > 0 && count <= static_cast<long>(sizeof records) && count % Record::size == 0,
                "a read returned an invalid count: " + std::to_string(count));
    const auto end = records.begin() + count / Record::size;
    requireThat(std::all_of(records.begin(), end, [](const Record& record) { return record.isWhole(); }),
                "a read returned a torn record");
    return static_cast<std::uint64_t>(count);
}

void OpenFile::seekSomewhere(Random& random) {
    constexpr std::array directions{std::ios_base::beg, std::ios_base::cur, std::ios_base::end};
    const auto direction = directions[pick(random, directions.size())];
    const auto records = static_cast<long>(pick(random, 9)) - 4;
    const auto position = std::streamoff(stream_->seek(records * Record::size, direction));
    requireThat(position == -1 || (position >= 0 && position % Record::size == 0),
                "a seek returned an invalid position: " + std::to_string(position));
    requireThat(position == -1 || direction != std::ios_base::beg || position == records * Record::size,
                "a seek moved to a wrong position");
}

void OpenFile::writeSome(Random& random) {
    const auto size = std::streamoff(stream_->seek(0, std::ios_base::end));
    const bool isFull = size >= largestFile;
    if (isFull && access_ == Access::Append) {
        return;
    }
    if (isFull || onceIn(2, random)) {
        stream_->seek(static_cast<long>(pick(random, largestFile / Record::size)) * Record::size,
                      std::ios_base::beg);
    }
    std::array<Record, mostRecords> records;
    records.fill(Record(random()));
    const long count = static_cast<long>(1 + pick(random, mostRecords)) * Record::size;
    requireThat(stream_->write(records.front().bytes(), count) == count, "incomplete write");
    stream_->flush();
}

} // namespace storage::stress
