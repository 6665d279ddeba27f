#include "benchmarks/report/SummaryTable.h"

#include "benchmarks/report/DisturbedText.h"

#include <algorithm>
#include <fmt/format.h>

namespace storage::benchmark {

namespace {

std::string cellText(const SummaryRow& row, const Contender& store) {
    const auto cell = row.cells.find(store.id);
    if (cell == row.cells.end()) {
        return "-";
    }
    return fmt::format("{}{:.{}f}", cell->second.undisturbed == 0 ? "~" : "", cell->second.median,
                       row.kind.decimals);
}

std::string ratioText(const SummaryRow& row, const std::vector<Contender>& stores) {
    if (!row.ratio) {
        return "-";
    }
    const auto rival = std::find_if(stores.begin(), stores.end(),
                                    [&](const Contender& store) { return store.id == row.rival; });
    const std::string text = fmt::format("{:.2f} ({})", *row.ratio, rival->title);
    return *row.ratio < 1 ? "**" + text + "**" : text;
}

std::string rowText(const SummaryRow& row, const std::vector<Contender>& stores) {
    std::string text = fmt::format("| {} | {} | {} |", row.row.kind, row.row.variant, row.kind.unit);
    for (const Contender& store : stores) {
        text += ' ' + cellText(row, store) + " |";
    }
    return text + ' ' + ratioText(row, stores) + " |\n";
}

std::string headText(const std::vector<Contender>& stores) {
    std::string titles = "| row | of | unit |";
    std::string lines = "|---|---|---|";
    for (const Contender& store : stores) {
        titles += ' ' + store.title + " |";
        lines += "--:|";
    }
    return titles + " ratio |\n" + lines + "---|\n";
}

} // namespace

std::string summaryTable(const std::vector<SummaryRow>& rows, const std::vector<Repetition>& repetitions,
                         const std::vector<Contender>& stores) {
    std::string text = headText(stores);
    for (const SummaryRow& row : rows) {
        text += rowText(row, stores);
    }
    return text + disturbedText(repetitions);
}

} // namespace storage::benchmark
