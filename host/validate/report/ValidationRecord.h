#pragma once

#include "host/validate/report/GroupRecord.h"
#include "host/validate/rules/Profile.h"

#include <cstdint>
#include <string>
#include <vector>

namespace storage::host {

/// Everything that a run found out. A value; it refers to the catalogue.
struct ValidationRecord {
    std::string plugin; ///< path
    Profile profile;
    std::uint64_t seed;
    std::size_t leftOut; ///< rules asked for that the profile does not have
    std::vector<GroupRecord> groups;

    CheckTotals totals() const;
};

} // namespace storage::host
