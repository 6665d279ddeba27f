#pragma once

#include "hostapi/storage/provider/StorageIRI.h"
#include "tests/model/PathChoice.h"

#include <cstdint>

namespace storage::inmemoryprovider::tests {

/// How a step comes to its location: most are plain paths, some have their three properties given apart.
struct LocationChoice {
    enum class Form : std::uint8_t {
        Plain,           ///< built from the path
        ResolvedApart,   ///< the path is the resolved one, the given one is another
        ClaimsRoot,      ///< as ResolvedApart, and has no parent, whatever the paths say
        ClaimsHasParent, ///< the path for both, and has a parent, also when it is the root
    };

    PathChoice path;
    PathChoice given;
    Form form = Form::Plain;
};

foundation::storage::provider::StorageIRI resolve(const LocationChoice& choice, const ReferenceModel& model);

} // namespace storage::inmemoryprovider::tests
