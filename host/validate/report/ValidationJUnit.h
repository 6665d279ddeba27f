#pragma once

#include "host/validate/report/ValidationRecord.h"

#include <string>

namespace storage::host {

/// The record as a JUnit XML document: a group is a test suite, a failed rule a failure, a crash or hang an
/// error, a rule that was excepted is skipped.
std::string junitXml(const ValidationRecord& record);

} // namespace storage::host
