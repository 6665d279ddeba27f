#include "host/console/DiagnosisScope.h"

#include <utility>

namespace storage::host {

DiagnosisScope::DiagnosisScope(Console& console, FailureDiagnosis diagnosis)
    : console_(console), before_(console.setDiagnosis(std::move(diagnosis))) {}

DiagnosisScope::~DiagnosisScope() {
    console_.setDiagnosis(std::move(before_));
}

} // namespace storage::host
