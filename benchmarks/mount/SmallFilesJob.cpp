#include "benchmarks/mount/SmallFilesJob.h"

#include "benchmarks/mount/FilesFolder.h"

namespace storage::benchmark {

void SmallFilesJob::run(const std::filesystem::path& folder, const SourceTree& /*source*/,
                        Measurements& measurements) const {
    FilesFolder files(folder, files_);
    measurements.addThousands({"create files of 4 KiB"}, files.create());
    measurements.addThousands({"stat"}, files.stat(statRounds_));
    measurements.addThousands({"rename"}, files.rename());
    measurements.addThousands({"unlink"}, files.unlink());
}

} // namespace storage::benchmark
