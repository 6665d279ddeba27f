#pragma once

#include "host/validate/report/CheckRecord.h"
#include "host/validate/report/CheckTotals.h"
#include "host/validate/rules/CheckGroup.h"

#include <vector>

namespace storage::host {

/// The checks of a group that were made. A value; it refers to the catalogue's group.
struct GroupRecord {
    const CheckGroup* group;
    std::vector<CheckRecord> checks;

    CheckTotals totals() const;
};

} // namespace storage::host
