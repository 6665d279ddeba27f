#include "Paths.h"

#include <algorithm>
#include <cstddef>

namespace provider_template {

std::u16string pathOf(const foundation::storage::provider::StorageIRI& iri) {
    std::u16string path;
    if (!iri.hasParent()) {
        return path;
    }
    const std::u16string& text = iri.getResolvedPath();
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find(u'/', begin), text.size());
        if (end > begin) {
            path.append(u"/").append(text, begin, end - begin);
        }
        begin = end + 1;
    }
    return path;
}

std::u16string parentOf(std::u16string_view path) {
    return path.empty() ? std::u16string() : std::u16string(path.substr(0, path.rfind(u'/')));
}

std::u16string prefixOf(std::u16string_view folder) {
    return std::u16string(folder).append(u"/");
}

bool isBelow(std::u16string_view path, std::u16string_view prefix) {
    return path.substr(0, prefix.size()) == prefix;
}

} // namespace provider_template
