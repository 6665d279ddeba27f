#pragma once

#include "host/validate/report/ValidationRecord.h"
#include "host/validate/rules/CheckSelection.h"

#include <ostream>
#include <string>

// The lists of rules and the reports of a run.
namespace storage::host {

/// One rule per line, below the title of its group.
void printRules(std::ostream& out, const CheckSelection& selection);
/// The rules as they are in docs/contract.md.
void printRulesAsMarkdown(std::ostream& out, const CheckSelection& selection);
void printRulesAsJson(std::ostream& out, const CheckSelection& selection);

// The report as text; each group when it is done.
void printBegin(std::ostream& out, const ValidationRecord& record);
void printGroup(std::ostream& out, const ValidationRecord::Group& group);
void printEnd(std::ostream& out, const ValidationRecord& record);

/// The report as one JSON object.
void printJson(std::ostream& out, const ValidationRecord& record);

/// The report as a JUnit XML document: a group is a test suite, a failed rule a
/// failure, a crash or hang an error; an excepted rule is skipped.
std::string junitXml(const ValidationRecord& record);

} // namespace storage::host
