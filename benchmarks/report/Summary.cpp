#include "benchmarks/report/Summary.h"

#include <algorithm>
#include <utility>

namespace storage::benchmark {

namespace {

using Found = std::vector<std::pair<const Repetition*, double>>;

double medianOf(const std::vector<double>& sorted) {
    const std::size_t middle = sorted.size() / 2;
    return sorted.size() % 2 == 1 ? sorted[middle] : (sorted[middle - 1] + sorted[middle]) / 2;
}

SummaryCell summarizeCell(const Found& found) {
    std::vector<double> undisturbed;
    std::vector<double> all;
    for (const auto& [repetition, value] : found) {
        all.push_back(value);
        if (!repetition->isDisturbed()) {
            undisturbed.push_back(value);
        }
    }
    std::vector<double>& counted = undisturbed.empty() ? all : undisturbed;
    std::sort(counted.begin(), counted.end());
    return {medianOf(counted), counted.front(), counted.back(), found.size(), undisturbed.size()};
}

bool isRival(const RowKind& kind, const Contender& store) {
    return store.role == (kind.rivals == Rivals::Peers ? StoreRole::Peer : StoreRole::Floor);
}

bool isBetter(const RowKind& kind, double value, double than) {
    return kind.better == Better::Lower ? value < than : value > than;
}

void compare(SummaryRow& row, const std::vector<Contender>& stores) {
    std::optional<double> own;
    std::optional<double> best;
    for (const Contender& store : stores) {
        const auto cell = row.cells.find(store.id);
        if (cell == row.cells.end()) {
            continue;
        }
        const double median = cell->second.median;
        if (store.role == StoreRole::Plugin) {
            own = median;
        } else if (isRival(row.kind, store) && (!best || isBetter(row.kind, median, *best))) {
            best = median;
            row.rival = store.id;
        }
    }
    if (own && best) {
        row.ratio = row.kind.better == Better::Lower ? *best / *own : *own / *best;
    }
}

/// The rows of one kind, in the order in which they were measured.
std::vector<RowId> rowsOf(const RowKind& kind, const std::vector<Repetition>& repetitions) {
    std::vector<RowId> rows;
    for (const Repetition& repetition : repetitions) {
        for (const Measurement& each : repetition.measurements) {
            if (each.row.kind == kind.id && std::find(rows.begin(), rows.end(), each.row) == rows.end()) {
                rows.push_back(each.row);
            }
        }
    }
    return rows;
}

SummaryRow summarizeRow(const RowId& id, const RowKind& kind, const std::vector<Repetition>& repetitions) {
    std::map<std::string, Found> found;
    for (const Repetition& repetition : repetitions) {
        for (const Measurement& each : repetition.measurements) {
            if (each.row == id) {
                found[repetition.store].emplace_back(&repetition, each.value);
            }
        }
    }
    SummaryRow row{id, kind, {}, {}, {}};
    for (const auto& [store, values] : found) {
        row.cells[store] = summarizeCell(values);
    }
    return row;
}

} // namespace

std::vector<SummaryRow> summarize(const std::vector<RowKind>& kinds,
                                  const std::vector<Repetition>& repetitions,
                                  const std::vector<Contender>& stores) {
    std::vector<SummaryRow> rows;
    for (const RowKind& kind : kinds) {
        for (const RowId& id : rowsOf(kind, repetitions)) {
            rows.push_back(summarizeRow(id, kind, repetitions));
            compare(rows.back(), stores);
        }
    }
    return rows;
}

} // namespace storage::benchmark
