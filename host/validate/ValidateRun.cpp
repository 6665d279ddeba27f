#include "host/validate/ValidateRun.h"

#include "host/disk/FileDescriptor.h"
#include "host/support/CommandError.h"
#include "host/support/Interruption.h"
#include "host/support/Utf.h"
#include "host/validate/CheckRunner.h"
#include "host/validate/report/ValidationReports.h"

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

/// One run of the selected checks. Checks may end in any order; results are reported in the order of the
/// rules.
class Validation {
public:
    Validation(const std::string& plugin, const ValidateOptions& options, const CheckSelection& selection,
               Console& console)
        : options_(options),
          console_(console),
          record_{plugin, options.profile, options.seed, selection.leftOut, {}} {
        for (const CheckSelection::Rule& rule : selection.rules) {
            const std::string reason = rule.exception ? "excepted: " + printable(*rule.exception)
                                                      : "not checked: the run was stopped";
            record_.checks.push_back({rule, {Result::Skip, reason}, "", !rule.exception});
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
        CheckRunner{record_.plugin, options_.profile, options_.seed, options_.timeLimit}.requireProvider();
        std::ostream silence(nullptr);
        std::ostream& text = options_.format == ReportFormat::Text ? console_.out() : silence;
        printBegin(text, record_);
        CheckRun* run = record_.checks.data();
        for (const ValidationRecord::CheckRuns group : record_.groups()) {
            for (const CheckRun* const end = run + group.size(); run != end; ++run) {
                if (run->isPending) {
                    collectUntil(options_.jobs - 1);
                    begin(*run, 0);
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
        std::unique_ptr<CheckProcess> process;
    };

    void begin(CheckRun& run, std::size_t round) {
        if (!record_.stopped.empty()) {
            return;
        }
        const Check& check = *run.rule.check;
        if (round == 0) {
            showProgress(check);
        }
        milliseconds limit = options_.timeLimit;
        if (options_.runLimit) {
            limit = std::clamp(std::chrono::ceil<milliseconds>(begin_ + *options_.runLimit - Clock::now()),
                               milliseconds(0), limit);
        }
        const CheckRunner runner{record_.plugin, options_.profile, options_.seed + round, limit};
        jobs_.push_back({&run, round, runner.start(check)});
    }

    void showProgress(const Check& check) {
        ++begun_;
        if (console_.showsProgress()) {
            console_.drawProgress(
                fmt::format("{} of {}: {} {}", begun_, record_.checks.size(), check.number, check.name));
        }
    }

    void collectUntil(std::size_t left) {
        while (jobs_.size() > left) {
            std::vector<CheckProcess*> processes;
            for (const Job& job : jobs_) {
                processes.push_back(job.process.get());
            }
            const auto over =
                jobs_.begin() + static_cast<std::ptrdiff_t>(CheckProcess::waitForAny(processes));
            Job job = std::move(*over);
            jobs_.erase(over);
            take(job);
            if (!record_.stopped.empty()) {
                jobs_.clear(); // kills the processes
            }
        }
    }

    void take(Job& job) {
        CheckOutcome outcome = job.process->outcome();
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
            record_.stopped = "stopped at the first check that failed, crashed or hung";
        }
        const CheckSelection::Rule& rule = job.run->rule;
        *job.run = {rule, std::move(outcome), options_.replayCommand(*rule.check, job.round)};
    }

    const ValidateOptions& options_;
    Console& console_;
    std::size_t begun_ = 0;
    ValidationRecord record_;
    std::vector<Job> jobs_;
    const Clock::time_point begin_ = Clock::now();
    int hangs_ = 0;
};

/// Opens the report before the run: a path that cannot be written fails at once, and an old report is
/// truncated. A user who omits the name of the report must not overwrite the plug-in.
FileDescriptor openReport(const std::string& path) {
    if (std::filesystem::is_regular_file(path) && std::filesystem::file_size(path) > 0 &&
        std::ifstream(path, std::ios_base::binary).get() != '<') {
        throw CommandError(path, "not an XML report, so it is not overwritten; choose another file");
    }
    return FileDescriptor(path, O_WRONLY | O_CREAT | O_TRUNC, 0666);
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
    const auto selection =
        CheckSelection::of(catalogue, options.profile, options.only, options.except, options.exceptFrom);
    if (options.task != ValidateOptions::Task::Check) {
        printSelected(console.out(), selection, options);
        return ExitStatus::Success;
    }
    const Interruption interruption;
    std::optional<FileDescriptor> junit;
    if (options.junitFile) {
        junit.emplace(openReport(*options.junitFile));
    }
    const ValidationRecord record = Validation(plugin, options, selection, console).run();
    if (options.format == ReportFormat::Json) {
        printJson(console.out(), record);
    }
    if (junit) {
        junit->write(junitXml(record));
        junit->close();
    }
    return record.succeeded() ? ExitStatus::Success : ExitStatus::Failure;
}

} // namespace storage::host
