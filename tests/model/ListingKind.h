#pragma once

namespace storage::inmemoryprovider::tests {

enum class ListingKind { All, Files, Folders };

} // namespace storage::inmemoryprovider::tests
