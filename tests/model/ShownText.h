#pragma once

#include "hostapi/storage/provider/StorageIRI.h"

#include <string>
#include <string_view>

namespace storage::inmemoryprovider::tests {

/// `text` as a C++ literal without its prefix: quoted, everything but printable ASCII escaped.
std::string shown(std::u16string_view text);

/// The arguments that build `iri`.
std::string shown(const foundation::storage::provider::StorageIRI& iri);

} // namespace storage::inmemoryprovider::tests
