#pragma once

#include "host/validate/report/ValidationRecord.h"

#include <ostream>

namespace storage::host {

/// Prints all that a run found out as one JSON object.
void printJson(std::ostream& out, const ValidationRecord& record);

} // namespace storage::host
