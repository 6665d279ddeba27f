#include "benchmarks/runner/Runner.h"

#include "benchmarks/results/MeasurementText.h"
#include "benchmarks/scenarios/ScenarioTable.h"
#include "benchmarks/stores/StoreKinds.h"
#include "benchmarks/system/ChildProcess.h"
#include "benchmarks/system/LoadMeter.h"
#include "benchmarks/system/Progress.h"

#include <algorithm>
#include <fmt/format.h>
#include <fnmatch.h>
#include <iostream>
#include <stdexcept>

namespace storage::benchmark {

namespace {

std::vector<StoreKind> chosen(const std::vector<StoreKind>& stores, const std::vector<std::string>& ids) {
    std::vector<StoreKind> found;
    for (const std::string& id : ids) {
        const auto store =
            std::find_if(stores.begin(), stores.end(), [&](const StoreKind& each) { return each.id == id; });
        if (store == stores.end()) {
            throw std::runtime_error(id + ": no such store here");
        }
        found.push_back(*store);
    }
    return found;
}

} // namespace

Runner::Runner(const BenchmarkOptions& options, TmpfsFolder& tmpfs)
    : options_(options),
      tmpfs_(tmpfs),
      scenarios_(scenarioTable(options.form)),
      stores_(storeKinds(options.plugin, tmpfs.path())) {
    std::erase_if(scenarios_, [&](const auto& scenario) {
        return ::fnmatch(options_.only.c_str(), scenario->name().c_str(), 0) != 0;
    });
    if (!options_.stores.empty()) {
        stores_ = chosen(stores_, options_.stores);
    }
    if (scenarios_.empty()) {
        throw std::runtime_error(options_.only + ": no such scenario");
    }
}

void Runner::run() {
    for (unsigned number = 0; number < options_.repetitions; ++number) {
        for (std::size_t i = 0; i < scenarios_.size(); ++i) {
            runScenario(*scenarios_[i], number, number + i);
        }
    }
    showProgress("");
}

void Runner::runScenario(const Scenario& scenario, unsigned number, std::size_t first) {
    for (std::size_t i = 0; i < stores_.size(); ++i) {
        const StoreKind& store = stores_[(first + i) % stores_.size()];
        if (scenario.suits(store)) {
            showProgress(fmt::format("repetition {} of {}: {}, {}", number + 1, options_.repetitions,
                                     scenario.name(), store.title));
            runOne(scenario, store, number);
        }
    }
}

void Runner::runOne(const Scenario& scenario, const StoreKind& store, unsigned number) {
    std::vector<std::string> arguments{"--scenario", scenario.name(), "--stores", store.id,
                                       "--plugin",   options_.plugin, "--tmpfs",  tmpfs_.path()};
    if (options_.form == Form::Short) {
        arguments.emplace_back("--short");
    }
    const LoadMeter meter;
    const ChildProcess child = ChildProcess::runSelf(arguments);
    const Load load = meter.read(child);
    if (!child.succeeded) {
        std::cerr << fmt::format("{}, {}: failed\n", scenario.name(), store.title);
        ++failures_;
        tmpfs_.clear();
        return;
    }
    repetitions_.push_back({scenario.name(), store.id, number, load, fromText(child.output)});
}

} // namespace storage::benchmark
