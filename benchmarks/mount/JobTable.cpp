#include "benchmarks/mount/JobTable.h"

#include "benchmarks/mount/ListingJob.h"
#include "benchmarks/mount/ProgramsJob.h"
#include "benchmarks/mount/RandomAccessJob.h"
#include "benchmarks/mount/SequentialJob.h"
#include "benchmarks/mount/SmallFilesJob.h"
#include "benchmarks/mount/SmallWritesJob.h"

namespace storage::benchmark {

namespace {

constexpr std::uint64_t mebibyte = 1 << 20;

using Jobs = std::vector<std::unique_ptr<Job>>;

Jobs fullTable() {
    Jobs all;
    all.push_back(std::make_unique<SequentialJob>(512 * mebibyte));
    all.push_back(std::make_unique<SmallWritesJob>(128 * mebibyte));
    all.push_back(std::make_unique<RandomAccessJob>(256 * mebibyte, 32'768U));
    all.push_back(std::make_unique<SmallFilesJob>(10'000U, 5U));
    all.push_back(std::make_unique<ListingJob>(10'000U, 5U));
    all.push_back(std::make_unique<ProgramsJob>());
    return all;
}

Jobs shortTable() {
    Jobs all;
    all.push_back(std::make_unique<SequentialJob>(16 * mebibyte));
    all.push_back(std::make_unique<SmallWritesJob>(4 * mebibyte));
    all.push_back(std::make_unique<RandomAccessJob>(8 * mebibyte, 512U));
    all.push_back(std::make_unique<SmallFilesJob>(300U, 2U));
    all.push_back(std::make_unique<ListingJob>(300U, 2U));
    all.push_back(std::make_unique<ProgramsJob>());
    return all;
}

} // namespace

std::vector<std::unique_ptr<Job>> jobTable(Form form) {
    return form == Form::Full ? fullTable() : shortTable();
}

} // namespace storage::benchmark
