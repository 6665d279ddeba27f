#include "benchmarks/report/ReportFile.h"

#include <fstream>
#include <stdexcept>

namespace storage::benchmark {

void writeReportFile(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios_base::binary);
    file << text << std::flush;
    if (!file) {
        throw std::runtime_error(path + ": cannot be written");
    }
}

} // namespace storage::benchmark
