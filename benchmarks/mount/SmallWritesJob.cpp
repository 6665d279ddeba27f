#include "benchmarks/mount/SmallWritesJob.h"

#include "benchmarks/mount/NumberedPages.h"
#include "benchmarks/mount/PageCache.h"
#include "benchmarks/results/Timing.h"
#include "benchmarks/workload/FileStream.h"

#include <fcntl.h>

namespace storage::benchmark {

namespace {

constexpr double megabyte = 1e6;

double write(NumberedPages& pages) {
    const auto start = std::chrono::steady_clock::now();
    FileStream file(pages.path(), O_WRONLY | O_CREAT | O_EXCL);
    for (std::size_t page = 0; page < pages.count(); ++page) {
        file.write(pages.content(page), NumberedPages::pageSize);
    }
    file.close();
    return secondsSince(start);
}

} // namespace

void SmallWritesJob::run(const std::filesystem::path& folder, const SourceTree& /*source*/,
                         Measurements& measurements) const {
    NumberedPages pages(folder / "file", fileSize_ / NumberedPages::pageSize);
    measurements.addRate({"sequential write, 4 KiB"}, static_cast<double>(fileSize_), write(pages), megabyte);
    dropCachedPages(pages.path());
    pages.verify();
}

} // namespace storage::benchmark
