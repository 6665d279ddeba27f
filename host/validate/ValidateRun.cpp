#include "host/validate/ValidateRun.h"

#include "host/disk/FileDescriptor.h"
#include "host/support/CommandError.h"
#include "host/support/Interruption.h"
#include "host/support/UsageError.h"
#include "host/validate/CheckRunner.h"
#include "host/validate/ReplayCommand.h"
#include "host/validate/report/ValidationReports.h"
#include "host/validate/rules/CheckSelection.h"
#include "host/validate/rules/RuleExceptions.h"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>

namespace storage::host {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using Result = CheckOutcome::Result;
using CheckRun = ValidationRecord::CheckRun;

/// A provider that hangs in one check usually hangs in many, and each hang takes the full time limit.
constexpr int maxHangs = 10;

CheckRun planned(const Check& check, const RuleExceptions& exceptions) {
    if (const auto reason = exceptions.reasonFor(check)) {
        return {&check, {Result::Skip, "excepted: " + printable(*reason)}, "", CheckRun::State::Excepted};
    }
    return {&check, {Result::Skip, "not checked: the run was stopped"}, "", CheckRun::State::NotReached};
}

/// One run of the selected checks. Checks may end in any order; results are reported in the order of the
/// rules.
class Validation {
public:
    Validation(const std::string& plugin, const ValidateOptions& options, const CheckSelection& selection,
               const RuleExceptions& exceptions, Console& console)
        : options_(options),
          console_(console),
          runner_(plugin, options.profile, options.seed, options.timeLimit),
          checkCount_(selection.size()),
          record_{plugin, options.profile, options.seed, selection.leftOut, {}} {
        for (const CheckSelection::Group& group : selection.groups) {
            record_.groups.push_back({group.group, {}});
            for (const Check* const check : group.checks) {
                record_.groups.back().checks.push_back(planned(*check, exceptions));
            }
        }
    }

    Validation(const Validation&) = delete;
    Validation& operator=(const Validation&) = delete;
    ~Validation() {
        try {
            console_.clearProgress();
        } catch (...) { // the terminal is closed
        }
    }

    ValidationRecord run() {
        runner_.requireProvider();
        std::ostream silence(nullptr);
        std::ostream& text = options_.format == ReportFormat::Text ? console_.out() : silence;
        printBegin(text, record_);
        for (ValidationRecord::Group& group : record_.groups) {
            for (CheckRun& run : group.checks) {
                if (run.state == CheckRun::State::NotReached) {
                    collectUntil(options_.jobs - 1);
                    begin(run, 0);
                }
            }
            collectUntil(0);
            console_.clearProgress();
            printGroup(text, group);
        }
        printEnd(text, record_);
        return record_;
    }

private:
    /// A running check.
    struct Job {
        CheckRun* run;
        std::size_t round; ///< number of earlier runs of this check
        milliseconds limit;
        std::unique_ptr<CheckRunner::Running> running;
    };

    void begin(CheckRun& run, std::size_t round) {
        if (!record_.stopped.empty()) {
            return;
        }
        if (round == 0) {
            showProgress(*run.check);
        }
        milliseconds limit = options_.timeLimit;
        if (options_.runLimit) {
            limit = std::clamp(std::chrono::ceil<milliseconds>(begin_ + *options_.runLimit - Clock::now()),
                               milliseconds(0), limit);
        }
        jobs_.push_back({&run, round, limit, runner_.withSeed(options_.seed + round).start(*run.check)});
    }

    void showProgress(const Check& check) {
        ++begun_;
        if (console_.showsProgress()) {
            console_.drawProgress(
                fmt::format("{} of {}: {} {}", begun_, checkCount_, check.number, check.name));
        }
    }

    void collectUntil(std::size_t left) {
        while (jobs_.size() > left) {
            const auto over = std::find_if(jobs_.begin(), jobs_.end(), [](const Job& job) {
                return job.running->process().isOver(job.limit);
            });
            if (over == jobs_.end()) {
                waitForAnyJob();
                continue;
            }
            Job job = std::move(*over);
            jobs_.erase(over);
            take(job);
            if (!record_.stopped.empty()) {
                jobs_.clear(); // kills the processes
            }
        }
    }

    void waitForAnyJob() const {
        std::vector<CheckProcess*> processes;
        for (const Job& job : jobs_) {
            processes.push_back(&job.running->process());
        }
        CheckProcess::waitForAny(processes);
    }

    void take(Job& job) {
        CheckOutcome outcome = job.running->outcome(job.limit);
        if (outcome.result == Result::Pass && job.round + 1 < options_.repeat) {
            begin(*job.run, job.round + 1);
            return;
        }
        const bool isKept = outcome.result == Result::Pass || outcome.result == Result::Skip;
        hangs_ += outcome.result == Result::Hang ? 1 : 0;
        if (options_.runLimit && Clock::now() - begin_ >= *options_.runLimit) {
            record_.stopped = fmt::format("stopped after {:g} s (limit of --run-timeout)",
                                          std::chrono::duration<double>(*options_.runLimit).count());
        } else if (hangs_ >= maxHangs) {
            record_.stopped = fmt::format("stopped after {} hangs", hangs_);
        } else if (!isKept && options_.failFast) {
            record_.stopped = "stopped at the first check that did not pass";
        }
        ValidateOptions again = options_;
        again.seed += job.round;
        *job.run = {job.run->check, std::move(outcome), replayCommand(again, *job.run->check)};
    }

    const ValidateOptions& options_;
    Console& console_;
    const CheckRunner runner_;
    const std::size_t checkCount_;
    std::size_t begun_ = 0;
    ValidationRecord record_;
    std::vector<Job> jobs_;
    const Clock::time_point begin_ = Clock::now();
    int hangs_ = 0;
};

/// Throws for a file that is not XML. A user who omits the name of the report must not overwrite the plug-in.
void refuseToOverwrite(const std::string& path) {
    if (std::filesystem::is_regular_file(path) && std::filesystem::file_size(path) > 0 &&
        std::ifstream(path, std::ios_base::binary).get() != '<') {
        throw CommandError(path, "not an XML report, so it is not overwritten; choose another file");
    }
}

/// Opens the report before the run: a path that cannot be written fails at once, and an old report is
/// truncated.
std::optional<FileDescriptor> openForJUnit(const ValidateOptions& options) {
    if (!options.junitFile) {
        return std::nullopt;
    }
    refuseToOverwrite(*options.junitFile);
    return FileDescriptor(*options.junitFile, O_WRONLY | O_CREAT | O_TRUNC, 0666);
}

/// A run without checks must not succeed.
void requireChecks(const CheckSelection& selection, const RuleExceptions& exceptions) {
    for (const CheckSelection::Group& group : selection.groups) {
        if (std::any_of(group.checks.begin(), group.checks.end(),
                        [&](const Check* check) { return !exceptions.reasonFor(*check); })) {
            return;
        }
    }
    throw UsageError("all selected rules are excepted, so nothing would be checked");
}

void printSelected(std::ostream& out, const CheckSelection& selection, const ValidateOptions& options) {
    if (options.task == ValidateOptions::Task::ListAsMarkdown) {
        printRulesAsMarkdown(out, selection);
    } else if (options.format == ReportFormat::Json) {
        printRulesAsJson(out, selection);
    } else {
        printRules(out, selection);
    }
}

} // namespace

ExitStatus runValidate(const std::string& plugin, const ValidateOptions& options,
                       std::span<const CheckGroup> catalogue, Console& console) {
    const auto selection = CheckSelection::of(catalogue, options.profile, options.only);
    if (options.task != ValidateOptions::Task::Check) {
        printSelected(console.out(), selection, options);
        return ExitStatus::Success;
    }
    const auto exceptions = RuleExceptions::of(catalogue, options.except, options.exceptFrom);
    requireChecks(selection, exceptions);
    const Interruption interruption;
    auto junit = openForJUnit(options);
    const ValidationRecord record = Validation(plugin, options, selection, exceptions, console).run();
    if (options.format == ReportFormat::Json) {
        printJson(console.out(), record);
    }
    if (junit) {
        junit->write(junitXml(record));
        junit->close();
    }
    return record.totals().allKept() && record.numbersOf(CheckRun::State::NotReached).empty()
               ? ExitStatus::Success
               : ExitStatus::Failure;
}

} // namespace storage::host
