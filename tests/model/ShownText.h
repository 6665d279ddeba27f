#pragma once

#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/StorageIRI.h"

#include <string>
#include <string_view>

namespace storage::inmemoryprovider::tests {

/// `text` as a C++ literal without its prefix: quoted, with everything escaped but printable ASCII.
std::string shown(std::u16string_view text);

/// The constructor arguments for `iri`.
std::string shown(const provider::StorageIRI& iri);

} // namespace storage::inmemoryprovider::tests
