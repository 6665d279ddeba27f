#include "benchmarks/report/ResultsFile.h"

#include "benchmarks/report/Machine.h"

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

Json storeObjects(const std::vector<StoreKind>& stores) {
    Json objects = Json::array();
    for (const StoreKind& store : stores) {
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
    return {{"scenario", repetition.scenario},
            {"store", repetition.store},
            {"number", repetition.number},
            {"disturbed", repetition.isDisturbed()},
            {"seconds", repetition.seconds},
            {"processor seconds", repetition.processorSeconds},
            {"processor seconds of others", repetition.othersSeconds},
            {"stolen seconds", repetition.stolenSeconds},
            {"measurements", measurements}};
}

Json summaryObject(const SummaryRow& row) {
    Json medians;
    for (const auto& [store, cell] : row.cells) {
        medians[store] = {{"median", cell.median}, {"undisturbed", cell.undisturbed}};
    }
    Json object{{"row", row.row.kind}, {"of", row.row.variant}, {"unit", row.kind.unit}, {"stores", medians}};
    if (row.ratio) {
        object["rival"] = row.rival;
        object["ratio"] = *row.ratio;
    }
    return object;
}

} // namespace

std::string resultsFile(const std::vector<SummaryRow>& rows, const std::vector<Repetition>& repetitions,
                        const std::vector<StoreKind>& stores) {
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
