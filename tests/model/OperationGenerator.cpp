#include "tests/model/OperationGenerator.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <rapidcheck.h>

#include <array>
#include <limits>
#include <numeric>
#include <utility>

namespace storage::inmemoryprovider::tests {

using provider::ByteStreamAppend;
using provider::ByteStreamContent;
using provider::ByteStreamExistence;
using provider::ByteStreamOpenOptions;
using provider::ExtendedFeature;
using provider::ReplacementPolicy;

namespace {

constexpr int longestSequence = 320;

/// Relative frequencies of the kinds in each mix, in the order of `Mix`.
struct Frequencies {
    OperationKind kind;
    std::array<std::size_t, 4> weights;
};

using enum OperationKind;

constexpr std::array<Frequencies, operationKindCount> frequencies = {{
    // Everyday, Moves, Content, WeirdPaths
    {CreateFile, {12, 18, 6, 16}},     {CreateFolder, {14, 20, 4, 20}},
    {RemoveFile, {4, 2, 3, 4}},        {RemoveFolder, {6, 2, 1, 8}},
    {FileExists, {2, 1, 1, 3}},        {FolderExists, {2, 1, 1, 3}},
    {GetFileAttributes, {2, 1, 1, 3}}, {GetFolderAttributes, {2, 1, 1, 3}},
    {SetLastModified, {4, 6, 4, 4}},   {SetWritable, {6, 10, 4, 5}},
    {OpenStream, {8, 6, 16, 6}},       {OpenReadOnlyStream, {3, 2, 5, 3}},
    {ListAll, {5, 2, 1, 4}},           {ListFiles, {2, 1, 1, 2}},
    {ListFolders, {2, 1, 1, 2}},       {MoveFile, {8, 10, 8, 10}},
    {MoveFolder, {8, 24, 3, 14}},      {HasFeature, {1, 1, 1, 1}},
    {StreamRead, {4, 2, 16, 2}},       {StreamWrite, {6, 6, 20, 4}},
    {StreamSeek, {3, 1, 12, 1}},       {StreamFlush, {1, 1, 1, 1}},
    {StreamClose, {1, 1, 2, 1}},       {ListingStep, {8, 3, 2, 4}},
    {ListingClone, {3, 1, 1, 1}},      {ListingClose, {1, 1, 1, 1}},
}};

/// `gen::weightedOneOf` for weights that are only known at run time.
template <class Value>
class WeightedChoice {
public:
    explicit WeightedChoice(std::vector<std::pair<std::size_t, rc::Gen<Value>>> choices)
        : choices_(std::move(choices)),
          total_(std::accumulate(choices_.begin(), choices_.end(), std::size_t{0},
                                 [](std::size_t sum, const auto& choice) { return sum + choice.first; })) {}

    rc::Shrinkable<Value> operator()(const rc::Random& random, int size) const {
        rc::Random rest = random;
        std::size_t ticket = rest.split().next() % total_;
        auto choice = choices_.begin();
        while (ticket >= choice->first) {
            ticket -= choice->first;
            ++choice;
        }
        return choice->second(rest, size);
    }

private:
    std::vector<std::pair<std::size_t, rc::Gen<Value>>> choices_;
    std::size_t total_;
};

/// Enumerations are generated as plain numbers, so values without a name can be generated too.
template <class Enumeration>
rc::Gen<Enumeration> numbered(std::vector<std::int32_t> numbers) {
    return rc::gen::map(rc::gen::elementOf(std::move(numbers)),
                        [](std::int32_t number) { return static_cast<Enumeration>(number); });
}

rc::Gen<PathChoice> pathFrom(PathChoice::From from) {
    return rc::gen::build<PathChoice>(rc::gen::set(&PathChoice::from, rc::gen::just(from)),
                                      rc::gen::set(&PathChoice::pick, rc::gen::inRange<std::uint8_t>(0, 240)),
                                      rc::gen::set(&PathChoice::name, rc::gen::inRange<std::uint8_t>(0, 30)));
}

/// Mostly from `likely`, sometimes from another source.
rc::Gen<PathChoice> pathMostly(PathChoice::From likely, std::size_t poolWeight) {
    using From = PathChoice::From;
    return WeightedChoice<PathChoice>({{poolWeight, pathFrom(From::Pool)},
                                       {1, pathFrom(From::File)},
                                       {1, pathFrom(From::Folder)},
                                       {1, pathFrom(From::InFolder)},
                                       {16, pathFrom(likely)}});
}

rc::Gen<LocationChoice> locationMostly(PathChoice::From likely, std::size_t poolWeight) {
    using Form = LocationChoice::Form;
    return rc::gen::build<LocationChoice>(
        rc::gen::set(&LocationChoice::path, pathMostly(likely, poolWeight)),
        rc::gen::set(&LocationChoice::given, pathMostly(likely, poolWeight)),
        rc::gen::set(&LocationChoice::form, rc::gen::weightedElement<Form>({{20, Form::Plain},
                                                                            {2, Form::ResolvedApart},
                                                                            {1, Form::ClaimsRoot},
                                                                            {1, Form::ClaimsHasParent}})));
}

rc::Gen<LocationChoice> anyLocation(std::size_t poolWeight) {
    return locationMostly(PathChoice::From::InFolder, poolWeight);
}

rc::Gen<LocationChoice> existingLocation(std::size_t poolWeight) {
    return WeightedChoice<LocationChoice>({{3, locationMostly(PathChoice::From::Folder, poolWeight)},
                                           {1, locationMostly(PathChoice::From::File, poolWeight)}});
}

/// Far from every time that the clock can return during the tests.
rc::Gen<boost::posix_time::ptime> timesSet() {
    using boost::gregorian::date;
    using boost::posix_time::ptime;
    using boost::posix_time::time_duration;
    return rc::gen::elementOf(std::vector<ptime>{
        ptime(date(1970, 1, 1)), ptime(date(2000, 2, 29), time_duration(12, 34, 56, 789012)),
        ptime(date(1400, 1, 1)), ptime(date(9999, 12, 31), time_duration(23, 59, 59, 999999)),
        ptime(boost::posix_time::neg_infin), ptime(boost::posix_time::pos_infin)});
}

rc::Gen<ByteStreamOpenOptions> openOptions() {
    return rc::gen::build<ByteStreamOpenOptions>(
        rc::gen::set(&ByteStreamOpenOptions::hint, rc::gen::element<std::int32_t>(0, 1, -1)),
        rc::gen::set(&ByteStreamOpenOptions::existence, numbered<ByteStreamExistence>({0, 0, 1, 1, 2, -1})),
        rc::gen::set(&ByteStreamOpenOptions::content, numbered<ByteStreamContent>({1, 0, 0, 2, -1})),
        rc::gen::set(&ByteStreamOpenOptions::append, numbered<ByteStreamAppend>({1, 1, 0, 0, 2, -1})));
}

rc::Gen<long> counts() {
    return rc::gen::weightedElement<long>(
        {{4, 1}, {4, 3}, {4, 10}, {2, 100}, {2, 0}, {1, -1}, {1, std::numeric_limits<long>::min()}});
}

rc::Gen<long> offsets() {
    return rc::gen::weightedElement<long>({{4, 0},
                                           {4, 1},
                                           {4, -1},
                                           {4, 3},
                                           {3, -5},
                                           {2, 12},
                                           {1, 1000000},
                                           {1, std::numeric_limits<long>::max()},
                                           {1, std::numeric_limits<long>::min()}});
}

rc::Gen<std::ios_base::seekdir> directions() {
    return rc::gen::elementOf(std::vector<std::ios_base::seekdir>{
        std::ios_base::beg, std::ios_base::cur, std::ios_base::end, static_cast<std::ios_base::seekdir>(7)});
}

template <class... Bindings>
rc::Gen<Operation> operation(OperationKind kind, const Bindings&... fields) {
    return rc::gen::build<Operation>(rc::gen::set(&Operation::kind, rc::gen::just(kind)), fields...);
}

rc::Gen<Operation> moves(OperationKind kind, PathChoice::From source, std::size_t poolWeight) {
    // Replacement requires an existing target.
    auto destination = WeightedChoice<LocationChoice>(
        {{3, anyLocation(poolWeight)}, {2, locationMostly(source, poolWeight)}});
    return operation(
        kind, rc::gen::set(&Operation::location, locationMostly(source, poolWeight)),
        rc::gen::set(&Operation::destination, rc::Gen<LocationChoice>(std::move(destination))),
        rc::gen::set(&Operation::policy, numbered<ReplacementPolicy>({0, 1, 1, 1, 4, 4, 5, 7, -1})));
}

rc::Gen<Operation> operationsOfKind(OperationKind kind, std::size_t poolWeight) {
    const auto slot = rc::gen::set(&Operation::slot, rc::gen::inRange<std::uint8_t>(0, 240));
    const auto at = [&](PathChoice::From likely) {
        return rc::gen::set(&Operation::location, locationMostly(likely, poolWeight));
    };
    using From = PathChoice::From;
    switch (kind) {
    case CreateFile:
    case CreateFolder:
        return operation(kind, at(From::InFolder));
    case RemoveFile:
    case FileExists:
    case GetFileAttributes:
    case OpenReadOnlyStream:
        return operation(kind, at(From::File));
    case RemoveFolder:
    case FolderExists:
    case GetFolderAttributes:
    case ListAll:
    case ListFiles:
    case ListFolders:
        return operation(kind, at(From::Folder));
    case SetLastModified:
        return operation(kind, at(From::Folder), rc::gen::set(&Operation::time, timesSet()));
    case SetWritable:
        return operation(
            kind, rc::gen::set(&Operation::location, existingLocation(poolWeight)),
            rc::gen::set(&Operation::writable, rc::gen::weightedElement<bool>({{3, true}, {2, false}})));
    case OpenStream:
        return operation(kind, at(From::File), rc::gen::set(&Operation::options, openOptions()));
    case MoveFile:
        return moves(kind, From::File, poolWeight);
    case MoveFolder:
        return moves(kind, From::Folder, poolWeight);
    case HasFeature:
        return operation(
            kind, rc::gen::set(&Operation::feature, numbered<ExtendedFeature>({6, 0, 5, 7, -1, 6 + 65536})));
    case StreamRead:
    case StreamWrite:
        return operation(kind, slot, rc::gen::set(&Operation::amount, counts()));
    case StreamSeek:
        return operation(kind, slot, rc::gen::set(&Operation::amount, offsets()),
                         rc::gen::set(&Operation::direction, directions()));
    case StreamFlush:
    case StreamClose:
    case ListingStep:
    case ListingClone:
    case ListingClose:
        break;
    }
    return operation(kind, slot);
}

} // namespace

rc::Gen<std::vector<Operation>> sequencesRichIn(Mix mix) {
    const std::size_t poolWeight = mix == Mix::WeirdPaths ? 10 : 3;
    std::vector<std::pair<std::size_t, rc::Gen<Operation>>> choices;
    choices.reserve(frequencies.size());
    for (const auto& row : frequencies) {
        choices.emplace_back(row.weights[static_cast<std::size_t>(mix)],
                             operationsOfKind(row.kind, poolWeight));
    }
    return rc::gen::resize(longestSequence, rc::gen::container<std::vector<Operation>>(rc::Gen<Operation>(
                                                WeightedChoice<Operation>(std::move(choices)))));
}

} // namespace storage::inmemoryprovider::tests
