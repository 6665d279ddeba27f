#include "host/validate/report/GroupRecord.h"

namespace storage::host {

CheckTotals GroupRecord::totals() const {
    CheckTotals totals;
    for (const CheckRecord& record : checks) {
        totals.count(record.outcome.verdict.result);
    }
    return totals;
}

} // namespace storage::host
