#include "host/validate/ValidateRun.h"

#include "host/disk/FileDescriptor.h"
#include "host/support/CommandError.h"
#include "host/support/UsageError.h"
#include "host/validate/CheckProgress.h"
#include "host/validate/CheckRunner.h"
#include "host/validate/ReplayCommand.h"
#include "host/validate/report/ValidationJUnit.h"
#include "host/validate/report/ValidationJson.h"
#include "host/validate/report/ValidationText.h"
#include "host/validate/rules/CheckSelection.h"
#include "host/validate/rules/RuleExceptions.h"

#include <fcntl.h>
#include <filesystem>
#include <fstream>

namespace storage::host {

namespace {

/// One run of the selected checks.
class Validation {
public:
    Validation(const std::string& plugin, const ValidateOptions& options, const CheckSelection& selection,
               RuleExceptions exceptions, Console& console)
        : options_(options),
          exceptions_(std::move(exceptions)),
          console_(console),
          runner_(plugin, options.profile, options.seed, options.timeLimit),
          progress_(console, selection.size()),
          record_{plugin, options.profile, options.seed, selection.leftOut, {}} {}

    ValidationRecord run(const CheckSelection& selection) {
        runner_.requireProvider();
        std::ostream silence(nullptr);
        ValidationText text(options_.format == ReportFormat::Text ? console_.out() : silence);
        text.printBegin(record_);
        for (const CheckSelection::Group& group : selection.groups) {
            record_.groups.push_back(runGroup(group));
            console_.clearProgress();
            text.printGroup(record_.groups.back());
        }
        text.printEnd(record_);
        return record_;
    }

private:
    ValidationRecord::Group runGroup(const CheckSelection::Group& group) {
        ValidationRecord::Group record{group.group, {}};
        for (const Check* const check : group.checks) {
            record.checks.push_back(runCheck(*check));
        }
        return record;
    }

    ValidationRecord::CheckRun runCheck(const Check& check) {
        progress_.begin(check);
        const std::string replay = replayCommand(options_, check);
        if (const auto reason = exceptions_.reasonFor(check)) {
            return {&check, {CheckOutcome::Result::Skip, "excepted: " + printable(*reason)}, replay, true};
        }
        return {&check, runner_.run(check), replay};
    }

    const ValidateOptions& options_;
    const RuleExceptions exceptions_;
    Console& console_;
    const CheckRunner runner_;
    CheckProgress progress_;
    ValidationRecord record_;
};

/// Somebody who forgets the report's name would lose the plug-in.
void refuseToOverwrite(const std::string& path) {
    if (std::filesystem::is_regular_file(path) && std::filesystem::file_size(path) > 0 &&
        std::ifstream(path, std::ios_base::binary).get() != '<') {
        throw CommandError(path, "is no XML report, and is not overwritten");
    }
}

/// Opened before the run: what cannot be written is better known at once, and an old report is no longer taken for this
/// one's.
std::optional<FileDescriptor> openForJUnit(const ValidateOptions& options) {
    if (!options.junitFile) {
        return std::nullopt;
    }
    refuseToOverwrite(*options.junitFile);
    return FileDescriptor(*options.junitFile, O_WRONLY | O_CREAT | O_TRUNC, 0666);
}

/// A run that checks nothing must not be a success.
void requireChecks(const CheckSelection& selection, const RuleExceptions& exceptions) {
    for (const CheckSelection::Group& group : selection.groups) {
        for (const Check* const check : group.checks) {
            if (!exceptions.reasonFor(*check)) {
                return;
            }
        }
    }
    throw UsageError("all of the selected rules are excepted");
}

void printSelected(std::ostream& out, const CheckSelection& selection, ReportFormat format) {
    if (format == ReportFormat::Json) {
        printRulesAsJson(out, selection);
    } else {
        printRules(out, selection);
    }
}

} // namespace

ExitStatus runValidate(const std::string& plugin, const ValidateOptions& options,
                       std::span<const CheckGroup> catalogue, Console& console) {
    const auto selection = CheckSelection::of(catalogue, options.profile, options.only);
    if (options.task == ValidateOptions::Task::List) {
        printSelected(console.out(), selection, options.format);
        return ExitStatus::Success;
    }
    RuleExceptions exceptions = RuleExceptions::of(catalogue, options.except, options.exceptFrom);
    requireChecks(selection, exceptions);
    const Interruption interruption;
    auto junit = openForJUnit(options);
    const ValidationRecord record =
        Validation(plugin, options, selection, std::move(exceptions), console).run(selection);
    if (options.format == ReportFormat::Json) {
        printJson(console.out(), record);
    }
    if (junit) {
        junit->write(junitXml(record));
        junit->close();
    }
    return record.totals().allKept() ? ExitStatus::Success : ExitStatus::Failure;
}

} // namespace storage::host
