#pragma once

#include "hostapi/storage/provider/StorageIRI.h"

#include <string>

namespace faults {

/// Returns the parent folder of a location. Precondition: not the root.
inline foundation::storage::provider::StorageIRI
parentOf(const foundation::storage::provider::StorageIRI& iri) {
    const std::u16string& path = iri.getResolvedPath();
    const auto separator = path.rfind(u'/');
    return foundation::storage::provider::StorageIRI(separator == 0 ? u"/" : path.substr(0, separator));
}

/// Returns the name of a location in its folder.
inline std::u16string nameOf(const foundation::storage::provider::StorageIRI& iri) {
    const std::u16string& path = iri.getResolvedPath();
    return path.substr(path.rfind(u'/') + 1);
}

/// Returns the location of an entry of a folder.
inline foundation::storage::provider::StorageIRI
childOf(const foundation::storage::provider::StorageIRI& folder, const std::u16string& name) {
    return foundation::storage::provider::StorageIRI(folder.getResolvedPath() + u"/" + name);
}

/// Maps ASCII letters to lower case.
inline std::u16string inLowerCase(std::u16string text) {
    for (char16_t& unit : text) {
        unit = unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + (u'a' - u'A')) : unit;
    }
    return text;
}

} // namespace faults
