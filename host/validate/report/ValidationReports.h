#pragma once

#include "host/validate/report/ValidationRecord.h"

#include <ostream>
#include <string>

// The lists of rules and the reports of a run.
namespace storage::host {

/// Prints one rule per line, below the title of its group.
void printRules(std::ostream& out, const CheckSelection& selection);
/// Prints the rules as they appear in docs/contract.md.
void printRulesAsMarkdown(std::ostream& out, const CheckSelection& selection);
void printRulesAsJson(std::ostream& out, const CheckSelection& selection);

// The text report. Each group is printed as soon as its checks have ended.
void printBegin(std::ostream& out, const ValidationRecord& record);
void printGroup(std::ostream& out, ValidationRecord::CheckRuns group);
void printEnd(std::ostream& out, const ValidationRecord& record);

/// Prints the report as one JSON object.
void printJson(std::ostream& out, const ValidationRecord& record);

/// The report as a JUnit XML document. Groups are test suites, broken rules are failures, crashes and hangs
/// are errors, and excepted rules are skipped.
std::string junitXml(const ValidationRecord& record);

} // namespace storage::host
