#include "benchmarks/report/ResultsFile.h"

#include "benchmarks/report/DisturbedText.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <string>

namespace storage::benchmark {

namespace {

using Json = nlohmann::ordered_json;

std::string line(const Json& object) {
    return object.dump() + '\n';
}

/// Drops digits below the precision of the measurement.
double rounded(double value) {
    return std::stod(fmt::format("{:.8g}", value));
}

Json storeObjects(const std::vector<Contender>& stores) {
    Json objects = Json::array();
    for (const Contender& store : stores) {
        objects.push_back({{"id", store.id}, {"title", store.title}, {"version", store.version}});
    }
    return objects;
}

Json runObject(const RunDescription& run, const std::vector<Repetition>& repetitions,
               const std::vector<Contender>& stores) {
    Json object{{"command", run.command}};
    for (const auto& [name, value] : run.machine) {
        object[name] = value;
    }
    object["repetitions"] = repetitions.size();
    object["disturbed"] = countDisturbed(repetitions);
    object["stores"] = storeObjects(stores);
    return object;
}

Json cellObject(const SummaryRow& row, const Contender& store, const SummaryCell& cell) {
    Json object{{"row", row.row.kind},
                {"of", row.row.variant},
                {"unit", row.kind.unit},
                {"store", store.id},
                {"median", rounded(cell.median)},
                {"smallest", rounded(cell.smallest)},
                {"largest", rounded(cell.largest)},
                {"repetitions", cell.repetitions},
                {"undisturbed", cell.undisturbed}};
    if (store.role != StoreRole::Plugin) {
        return object;
    }
    if (row.ratio) {
        object["rival"] = row.rival;
        object["ratio"] = rounded(*row.ratio);
    }
    if (row.kind.goal) {
        object["goal"] = *row.kind.goal;
    }
    return object;
}

Json repetitionObject(const Repetition& repetition) {
    Json measurements = Json::array();
    for (const Measurement& each : repetition.measurements) {
        measurements.push_back({{"row", each.row.kind},
                                {"of", each.row.variant},
                                {"value", each.value},
                                {"amount", each.amount},
                                {"seconds", each.seconds}});
    }
    const Load& load = repetition.load;
    Json object{{"scenario", repetition.scenario},
                {"store", repetition.store},
                {"number", repetition.number},
                {"disturbed", repetition.isDisturbed()},
                {"seconds", load.seconds},
                {"processor seconds", load.processorSeconds},
                {"processor seconds of others", load.othersSeconds},
                {"stolen seconds", load.stolenSeconds},
                {"measurements", measurements}};
    if (load.serverSeconds) {
        object["processor seconds of the server"] = *load.serverSeconds;
    }
    return object;
}

} // namespace

std::string resultLines(const RunDescription& run, const std::vector<SummaryRow>& rows,
                        const std::vector<Repetition>& repetitions, const std::vector<Contender>& stores) {
    std::string lines = line(runObject(run, repetitions, stores));
    for (const SummaryRow& row : rows) {
        for (const Contender& store : stores) {
            const auto cell = row.cells.find(store.id);
            if (cell != row.cells.end()) {
                lines += line(cellObject(row, store, cell->second));
            }
        }
    }
    return lines;
}

std::string repetitionLines(const std::vector<Repetition>& repetitions) {
    std::string lines;
    for (const Repetition& repetition : repetitions) {
        lines += line(repetitionObject(repetition));
    }
    return lines;
}

} // namespace storage::benchmark
