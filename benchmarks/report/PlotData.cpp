#include "benchmarks/report/PlotData.h"

#include "benchmarks/report/ReportFile.h"

#include <algorithm>
#include <fmt/format.h>
#include <map>
#include <string>

namespace storage::benchmark {

namespace {

std::string fileName(std::string text) {
    std::replace(text.begin(), text.end(), ' ', '-');
    return text;
}

using Lines = std::map<std::filesystem::path, std::string>;

/// The lines of each file.
Lines linesOf(const std::vector<SummaryRow>& rows) {
    Lines lines;
    for (const SummaryRow& row : rows) {
        if (row.row.size == 0) {
            continue;
        }
        for (const auto& [store, cell] : row.cells) {
            lines[std::filesystem::path(fileName(row.row.kind)) / (store + ".dat")] +=
                fmt::format("{} {:.4g}\n", row.row.size, cell.median);
        }
    }
    return lines;
}

} // namespace

void writePlotData(const std::vector<SummaryRow>& rows, const std::filesystem::path& folder) {
    for (const auto& [path, lines] : linesOf(rows)) {
        std::filesystem::create_directories((folder / path).parent_path());
        writeReportFile(folder / path, lines);
    }
}

} // namespace storage::benchmark
