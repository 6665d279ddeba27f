#pragma once

#include <utility>

namespace storage::inmemoryprovider {

/// Makes an element for later insertion into a map. Performs all allocations of the insertion.
/// @throws std::bad_alloc
template <class Map>
typename Map::node_type makeMapNode(const typename Map::key_type& key, typename Map::mapped_type value) {
    Map single;
    single.try_emplace(key, std::move(value));
    return single.extract(single.begin());
}

} // namespace storage::inmemoryprovider
