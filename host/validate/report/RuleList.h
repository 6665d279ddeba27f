#pragma once

#include "host/support/ReportFormat.h"
#include "host/validate/rules/CheckSelection.h"

#include <ostream>

namespace storage::host {

/// Prints which rules there are.
void printRules(std::ostream& out, const CheckSelection& selection, ReportFormat format);

} // namespace storage::host
