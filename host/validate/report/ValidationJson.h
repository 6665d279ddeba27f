#pragma once

#include "host/validate/report/ValidationRecord.h"
#include "host/validate/rules/CheckSelection.h"

#include <ostream>

namespace storage::host {

/// Prints the rules as one JSON object.
void printRulesAsJson(std::ostream& out, const CheckSelection& selection);

/// Prints the record as one JSON object.
void printJson(std::ostream& out, const ValidationRecord& record);

} // namespace storage::host
