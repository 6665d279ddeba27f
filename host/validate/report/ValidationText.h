#pragma once

#include "host/validate/report/ValidationRecord.h"
#include "host/validate/rules/CheckSelection.h"

#include <ostream>

namespace storage::host {

/// Prints the rules, one per line, below the title of their group.
void printRules(std::ostream& out, const CheckSelection& selection);

/// Prints the report of a run as text, each group when it is done.
///
/// Borrows the stream. Not thread-safe.
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
