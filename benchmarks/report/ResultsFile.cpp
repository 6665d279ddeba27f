#include "benchmarks/report/ResultsFile.h"

#include "benchmarks/system/Machine.h"

#include <nlohmann/json.hpp>

namespace storage::benchmark {

namespace {

using Json = nlohmann::ordered_json;

Json machineObject() {
    Json object;
    for (const auto& [name, value] : describeMachine()) {
        object[name] = value;
    }
    return object;
}

Json storeObjects(const std::vector<Contender>& stores) {
    Json objects = Json::array();
    for (const Contender& store : stores) {
        objects.push_back({{"id", store.id}, {"title", store.title}, {"version", store.version}});
    }
    return objects;
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

Json summaryObject(const SummaryRow& row) {
    Json medians;
    for (const auto& [store, cell] : row.cells) {
        medians[store] = {{"median", cell.median},
                          {"smallest", cell.smallest},
                          {"largest", cell.largest},
                          {"undisturbed", cell.undisturbed}};
    }
    Json object{{"row", row.row.kind}, {"of", row.row.variant}, {"unit", row.kind.unit}, {"stores", medians}};
    if (row.ratio) {
        object["rival"] = row.rival;
        object["ratio"] = *row.ratio;
    }
    if (row.kind.goal) {
        object["goal"] = *row.kind.goal;
    }
    return object;
}

} // namespace

std::string resultsFile(const std::vector<SummaryRow>& rows, const std::vector<Repetition>& repetitions,
                        const std::vector<Contender>& stores) {
    Json document{{"machine", machineObject()}, {"stores", storeObjects(stores)}};
    for (const SummaryRow& row : rows) {
        document["summary"].push_back(summaryObject(row));
    }
    for (const Repetition& repetition : repetitions) {
        document["repetitions"].push_back(repetitionObject(repetition));
    }
    return document.dump(1) + '\n';
}

} // namespace storage::benchmark
