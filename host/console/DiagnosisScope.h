#pragma once

#include "host/console/Console.h"
#include "host/support/Failure.h"

namespace storage::host {

/// Sets how the console describes failures of the storage. The destructor restores the previous diagnosis.
///
/// Borrows the console. Not thread-safe.
class DiagnosisScope {
public:
    DiagnosisScope(Console& console, FailureDiagnosis diagnosis);
    ~DiagnosisScope();
    DiagnosisScope(const DiagnosisScope&) = delete;
    DiagnosisScope& operator=(const DiagnosisScope&) = delete;

private:
    Console& console_;
    FailureDiagnosis before_;
};

} // namespace storage::host
