#include "host/validate/report/ValidationRecord.h"

namespace storage::host {

CheckTotals ValidationRecord::totals() const {
    CheckTotals totals;
    for (const GroupRecord& group : groups) {
        totals += group.totals();
    }
    return totals;
}

} // namespace storage::host
