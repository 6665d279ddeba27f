#pragma once

#include <utility>

namespace storage::inmemoryprovider {

/// An element for a map that is not in it yet: all that its insertion has to allocate.
/// @throws std::bad_alloc
template <class Map>
typename Map::node_type makeMapNode(const typename Map::key_type& key, typename Map::mapped_type value) {
    Map single;
    single.try_emplace(key, std::move(value));
    return single.extract(single.begin());
}

} // namespace storage::inmemoryprovider
