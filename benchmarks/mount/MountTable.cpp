#include "benchmarks/mount/MountTable.h"

#include "benchmarks/report/DisturbedText.h"

#include <fmt/format.h>

namespace storage::benchmark {

namespace {

std::string cellText(const SummaryRow& row, const Contender& place) {
    const auto cell = row.cells.find(place.id);
    if (cell == row.cells.end()) {
        return "-";
    }
    const SummaryCell& found = cell->second;
    const std::string mark = found.undisturbed == 0 ? "~" : "";
    return fmt::format("{0}{1:.{4}f} ({2:.{4}f}-{3:.{4}f})", mark, found.median, found.smallest,
                       found.largest, row.kind.decimals);
}

std::string verdictText(const SummaryRow& row) {
    if (!row.ratio || !row.kind.goal) {
        return "- | - | -";
    }
    return fmt::format("{:.2f} | {} | {}", *row.ratio, *row.kind.goal,
                       *row.ratio >= *row.kind.goal ? "reached" : "**not reached**");
}

std::string rowText(const SummaryRow& row, const std::vector<Contender>& places) {
    std::string text = fmt::format("| {} | {} |", row.row.kind, row.kind.unit);
    for (const Contender& place : places) {
        text += ' ' + cellText(row, place) + " |";
    }
    return text + ' ' + verdictText(row) + " |\n";
}

std::string headText(const std::vector<Contender>& places) {
    std::string titles = "| figure | unit |";
    std::string lines = "|---|---|";
    for (const Contender& place : places) {
        titles += ' ' + place.title + " |";
        lines += "--:|";
    }
    return titles + " ratio to pass-through | goal | |\n" + lines + "--:|--:|---|\n";
}

} // namespace

std::string mountTable(const std::vector<SummaryRow>& rows, const std::vector<Repetition>& repetitions,
                       const std::vector<Contender>& places) {
    std::string text = headText(places);
    for (const SummaryRow& row : rows) {
        text += rowText(row, places);
    }
    return text + disturbedText(repetitions);
}

} // namespace storage::benchmark
