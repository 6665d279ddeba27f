#pragma once

#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/StorageIRI.h"
#include "tests/model/PathChoice.h"

#include <cstdint>

namespace storage::inmemoryprovider::tests {

/// The location of a step. Most are plain paths. Others set the path, the resolved path and the parent flag
/// independently.
struct LocationChoice {
    enum class Form : std::uint8_t {
        Plain,           ///< built from the path
        ResolvedApart,   ///< the resolved path differs from the given one
        ClaimsRoot,      ///< like ResolvedApart, and claims to have no parent, regardless of the paths
        ClaimsHasParent, ///< has the same path twice and claims to have a parent, also for the root
    };

    PathChoice path;
    PathChoice given;
    Form form = Form::Plain;
};

provider::StorageIRI resolve(const LocationChoice& choice, const ReferenceModel& model);

} // namespace storage::inmemoryprovider::tests
