#include "benchmarks/mount/MountRunner.h"

#include "benchmarks/mount/JobTable.h"
#include "benchmarks/mount/Place.h"
#include "benchmarks/mount/PlaceKinds.h"
#include "benchmarks/results/MeasurementText.h"
#include "benchmarks/system/ChildProcess.h"
#include "benchmarks/system/LoadMeter.h"
#include "benchmarks/system/Progress.h"

#include <algorithm>
#include <cstdlib>
#include <fmt/format.h>
#include <fnmatch.h>
#include <stdexcept>

namespace storage::benchmark {

namespace {

unsigned filesInSource(Form form) {
    return form == Form::Full ? 2'000U : 60U;
}

/// Makes git independent of the user's configuration, in this program and its child processes.
void ignoreSettingsOfGit() {
    ::setenv("GIT_CONFIG_NOSYSTEM", "1", 1);
    ::setenv("GIT_CONFIG_GLOBAL", "/dev/null", 1);
}

} // namespace

MountRunner::MountRunner(const MountBenchmarkOptions& options)
    : options_(options), places_(placeKinds(options, Place::backing(room_))), jobs_(jobTable(options.form)) {
    std::erase_if(jobs_, [&](const auto& job) {
        return ::fnmatch(options_.only.c_str(), job->name().c_str(), 0) != 0;
    });
    if (jobs_.empty()) {
        throw std::runtime_error(options_.only + ": no such job");
    }
    if (room_.path().empty()) {
        throw std::runtime_error("no tmpfs with room enough");
    }
}

void MountRunner::run() {
    ignoreSettingsOfGit();
    SourceTree(sourceFolder_.path()).make(filesInSource(options_.form));
    for (unsigned round = 0; round < mostRounds(); ++round) {
        for (std::size_t i = 0; i < jobs_.size(); ++i) {
            runJob(*jobs_[i], round, round + i);
        }
    }
    showProgress("");
}

unsigned MountRunner::mostRounds() const {
    return options_.form == Form::Full ? 3 * options_.repetitions : options_.repetitions;
}

bool MountRunner::isWanted(const Job& job, const PlaceKind& place, unsigned round) const {
    const auto good = std::count_if(repetitions_.begin(), repetitions_.end(), [&](const Repetition& each) {
        return each.scenario == job.name() && each.store == place.id && !each.isDisturbed();
    });
    return round < options_.repetitions || good < static_cast<std::ptrdiff_t>(options_.repetitions);
}

void MountRunner::runJob(const Job& job, unsigned round, std::size_t first) {
    for (std::size_t i = 0; i < places_.size(); ++i) {
        const PlaceKind& place = places_[(first + i) % places_.size()];
        if (isWanted(job, place, round)) {
            showProgress(fmt::format("round {} of {} to {}: {}, {}", round + 1, options_.repetitions,
                                     mostRounds(), job.name(), place.title));
            runOne(job, place, round);
        }
    }
}

void MountRunner::runOne(const Job& job, const PlaceKind& kind, unsigned round) {
    const Place place(kind, room_);
    std::vector<std::string> arguments{"--job",        job.name(), "--folder",
                                       place.folder(), "--source", sourceFolder_.path()};
    if (options_.form == Form::Short) {
        arguments.emplace_back("--short");
    } else {
        quietMachine_.await();
    }
    const LoadMeter meter;
    const double serverBefore = place.serverSeconds().value_or(0);
    const ChildProcess child = ChildProcess::runSelf(arguments);
    std::optional<double> serverSeconds = place.serverSeconds();
    if (serverSeconds) {
        *serverSeconds -= serverBefore;
    }
    if (!child.succeeded) {
        throw std::runtime_error(fmt::format("{}, {}: failed", job.name(), kind.title));
    }
    repetitions_.push_back(
        {job.name(), kind.id, round, meter.read(child, serverSeconds), fromText(child.output)});
}

} // namespace storage::benchmark
