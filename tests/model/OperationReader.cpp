#include "tests/model/OperationReader.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>
#include <limits>
#include <string_view>

namespace storage::inmemoryprovider::tests {

using provider::ByteStreamAppend;
using provider::ByteStreamContent;
using provider::ByteStreamExistence;
using provider::ByteStreamOpenOptions;
using provider::ExtendedFeature;
using provider::ReplacementPolicy;

namespace {

constexpr long mostWritten = 2000;

} // namespace

std::vector<Operation> OperationReader::operations() {
    std::vector<Operation> result;
    while (!bytes_.atEnd()) {
        result.push_back(operation());
    }
    return result;
}

Operation OperationReader::operation() {
    Operation result;
    result.kind = static_cast<OperationKind>(bytes_.byte() % operationKindCount);
    switch (result.kind) {
    case OperationKind::HasFeature:
        result.feature = static_cast<ExtendedFeature>(amount());
        return result;
    case OperationKind::StreamWrite:
        result.slot = bytes_.byte();
        result.amount = std::min(amount(), mostWritten);
        return result;
    case OperationKind::StreamSeek:
        result.direction = static_cast<std::ios_base::seekdir>(bytes_.byte() % 4);
        [[fallthrough]];
    case OperationKind::StreamRead:
        result.slot = bytes_.byte();
        result.amount = amount();
        return result;
    case OperationKind::StreamFlush:
    case OperationKind::StreamClose:
    case OperationKind::ListingStep:
    case OperationKind::ListingClone:
    case OperationKind::ListingClose:
        result.slot = bytes_.byte();
        return result;
    default:
        break;
    }
    result.location = location();
    switch (result.kind) {
    case OperationKind::MoveFile:
    case OperationKind::MoveFolder:
        result.destination = location();
        result.policy = static_cast<ReplacementPolicy>(bytes_.signedByte());
        break;
    case OperationKind::SetLastModified:
        result.time = time();
        break;
    case OperationKind::SetWritable:
        result.writable = bytes_.byte() % 4 != 0;
        break;
    case OperationKind::OpenStream:
        result.options = options();
        break;
    default:
        break;
    }
    return result;
}

/// Mostly plain.
LocationChoice OperationReader::location() {
    using Form = LocationChoice::Form;
    constexpr auto froms = std::to_array<PathChoice::From>(
        {PathChoice::From::InFolder, PathChoice::From::Folder, PathChoice::From::File, PathChoice::From::Pool,
         PathChoice::From::Text, PathChoice::From::InFolder, PathChoice::From::Folder,
         PathChoice::From::File});
    const std::uint8_t shape = bytes_.byte();
    LocationChoice result;
    result.path = path(froms[shape % froms.size()]);
    switch (shape / froms.size()) {
    case 1:
    case 2:
        result.form = shape / froms.size() == 1 ? Form::ResolvedApart : Form::ClaimsRoot;
        result.given = path(froms[bytes_.byte() % froms.size()]);
        break;
    case 3:
        result.form = Form::ClaimsHasParent;
        break;
    default:
        break;
    }
    return result;
}

PathChoice OperationReader::path(PathChoice::From from) {
    PathChoice result;
    result.from = from;
    if (from == PathChoice::From::Text) {
        result.text = text();
        return result;
    }
    result.pick = bytes_.byte();
    if (from == PathChoice::From::InFolder) {
        result.name = bytes_.byte();
    }
    return result;
}

/// Mostly of a few code units, so that texts collide.
std::u16string OperationReader::text() {
    static constexpr std::u16string_view units = u"//////aabf.-\xD83D\xDE00\xE000\xFFFF";
    static constexpr std::uint8_t firstOfTwo = 240;
    std::u16string result;
    for (std::size_t left = bytes_.byte() % 32; left > 0; --left) {
        const std::uint8_t first = bytes_.byte();
        result += first < firstOfTwo ? units[first % units.size()] : static_cast<char16_t>(bytes_.number(2));
    }
    return result;
}

ByteStreamOpenOptions OperationReader::options() {
    ByteStreamOpenOptions result;
    result.hint = bytes_.signedByte();
    result.existence = static_cast<ByteStreamExistence>(bytes_.signedByte());
    result.content = static_cast<ByteStreamContent>(bytes_.signedByte());
    result.append = static_cast<ByteStreamAppend>(bytes_.signedByte());
    return result;
}

/// Before the year 2000, far from every time that the clock can return during the run.
boost::posix_time::ptime OperationReader::time() {
    using boost::gregorian::date;
    using boost::posix_time::microseconds;
    using boost::posix_time::ptime;
    const std::uint8_t shape = bytes_.byte();
    switch (shape) {
    case 1:
        return ptime(boost::posix_time::not_a_date_time);
    case 2:
        return ptime(boost::posix_time::neg_infin);
    case 3:
        return ptime(boost::posix_time::pos_infin);
    default:
        break;
    }
    const ptime first(date(1400, 1, 1));
    const ptime last(date(2000, 1, 1));
    const auto range = static_cast<std::uint64_t>((last - first).total_microseconds());
    return first + microseconds(static_cast<std::int64_t>(bytes_.number(shape % 8 + 1) % range));
}

/// Mostly small.
long OperationReader::amount() {
    const std::int8_t small = bytes_.signedByte();
    return small == std::numeric_limits<std::int8_t>::min() ? static_cast<long>(bytes_.number(8)) : small;
}

} // namespace storage::inmemoryprovider::tests
