#pragma once

#include "host/validate/report/ValidationRecord.h"
#include "host/validate/rules/CheckSelection.h"

#include <ostream>

namespace storage::host {

/// Prints the rules, one line each below the title of their group.
void printRules(std::ostream& out, const CheckSelection& selection);

/// The report of a run as text, group by group while the run goes on.
///
/// Borrows the stream. Thread safety: one object is for one thread.
class ValidationText {
public:
    explicit ValidationText(std::ostream& out) : out_(out) {}

    void printBegin(const ValidationRecord& record);
    void printGroup(const ValidationRecord::Group& group);
    void printEnd(const ValidationRecord& record);

private:
    void printCheck(const ValidationRecord::CheckRun& run);

    std::ostream& out_;
};

} // namespace storage::host
