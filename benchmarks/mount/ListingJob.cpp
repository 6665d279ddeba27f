#include "benchmarks/mount/ListingJob.h"

#include "benchmarks/mount/FilesFolder.h"

namespace storage::benchmark {

void ListingJob::run(const std::filesystem::path& folder, const SourceTree& /*source*/,
                     Measurements& measurements) const {
    FilesFolder files(folder, files_);
    files.create();
    measurements.addThousands({"readdir, entries"}, files.list(rounds_));
    measurements.addThousands({"readdir with stat, entries"}, files.listWithAttributes(rounds_));
}

} // namespace storage::benchmark
