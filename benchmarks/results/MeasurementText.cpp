#include "benchmarks/results/MeasurementText.h"

#include <nlohmann/json.hpp>

namespace storage::benchmark {

std::string toText(const std::vector<Measurement>& measurements) {
    nlohmann::json array = nlohmann::json::array();
    for (const Measurement& each : measurements) {
        array.push_back(
            {each.row.kind, each.row.variant, each.row.size, each.value, each.amount, each.seconds});
    }
    return array.dump() + '\n';
}

std::vector<Measurement> fromText(const std::string& text) {
    std::vector<Measurement> measurements;
    for (const nlohmann::json& each : nlohmann::json::parse(text)) {
        measurements.push_back({{each[0], each[1], each[2]}, each[3], each[4], each[5]});
    }
    return measurements;
}

} // namespace storage::benchmark
