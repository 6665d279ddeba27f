#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "inmemoryprovider/PluginEntry.h"
#include "tests/stress/Violation.h"

#include <memory>
#include <string>
#include <string_view>

namespace storage::stress {

using provider::ErrorCode;
using provider::Exception;
using provider::FolderEntry;
using provider::IFolderEntryIterator;
using provider::IProvider;
using provider::StorageIRI;

inline std::shared_ptr<IProvider> newProvider() {
    std::shared_ptr<IProvider> provider;
    buildProvider_V1(&provider);
    return provider;
}

/// A decimal number with leading zeros, so that names sort like numbers.
inline std::u16string nameOfNumber(unsigned long number, unsigned digits) {
    std::u16string name(digits, u'0');
    for (unsigned place = digits; place > 0; --place, number /= 10) {
        name[place - 1] = static_cast<char16_t>(u'0' + number % 10);
    }
    return name;
}

inline unsigned long countOf(IFolderEntryIterator& listing) {
    unsigned long count = 0;
    for (; listing.hasNext(); listing.step()) {
        ++count;
    }
    return count;
}

/// Whether the folder map has no folder at `iri`.
inline bool cannotBeListed(const IProvider& provider, const StorageIRI& iri) {
    try {
        provider.doListAll(iri);
    } catch (const Exception& error) {
        return error.getErrorCode() == ErrorCode::NotFound && error.getIRI() == iri;
    }
    return false;
}

} // namespace storage::stress
