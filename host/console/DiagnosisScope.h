#pragma once

#include "host/console/Console.h"
#include "host/support/Failure.h"

namespace storage::host {

/// As long as it lives, the console reports failures of the storage by one diagnosis. The destructor puts the one before
/// back.
///
/// Borrows the console. Thread safety: as the console.
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
