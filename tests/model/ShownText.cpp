#include "tests/model/ShownText.h"

#include "hostapi/storage/provider/ShortNamespace.h"

namespace storage::inmemoryprovider::tests {

using provider::StorageIRI;

std::string shown(std::u16string_view text) {
    std::string result = "\"";
    for (const char16_t unit : text) {
        if (unit >= u' ' && unit <= u'~') {
            result += static_cast<char>(unit);
        } else {
            result += "\\x";
            for (int shift = 12; shift >= 0; shift -= 4) {
                result += "0123456789ABCDEF"[unit >> shift & 0xF];
            }
        }
    }
    return result + "\"";
}

std::string shown(const StorageIRI& iri) {
    if (iri == StorageIRI(iri.getPath())) {
        return shown(iri.getPath());
    }
    std::string result = "{";
    result.append(shown(iri.getResolvedPath())).append(", ").append(shown(iri.getPath()));
    return result.append(iri.hasParent() ? ", has parent}" : ", no parent}");
}

} // namespace storage::inmemoryprovider::tests
