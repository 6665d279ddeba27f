#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace foundation::storage::provider {

void PrintTo(const StorageIRI& iri, std::ostream* out);
void PrintTo(const FolderEntry& entry, std::ostream* out);

} // namespace foundation::storage::provider

/// The default operations on an in-memory provider. Tests give locations as paths.
class ProviderTest : public testing::Test {
protected:
    using Entries = std::vector<foundation::storage::provider::FolderEntry>;
    using Names = std::vector<std::u16string>;

    ProviderTest();

    static foundation::storage::provider::StorageIRI at(std::u16string path);
    static foundation::storage::provider::FolderEntry file(std::u16string name);
    static foundation::storage::provider::FolderEntry folder(std::u16string name);

    void makeFolder(const std::u16string& path) const;
    void makeFile(const std::u16string& path, std::string_view content = "") const;
    void makeReadOnly(const std::u16string& path) const;
    std::string contentOf(const std::u16string& path) const;
    Names namesIn(const std::u16string& path) const;

    static Entries read(std::unique_ptr<foundation::storage::provider::IFolderEntryIterator> listing);

    std::shared_ptr<foundation::storage::provider::IProvider> provider_;
};

/// Matches a callable that throws the host's exception with this code and location.
inline auto failsWith(foundation::storage::provider::ErrorCode code,
                      const foundation::storage::provider::StorageIRI& iri) {
    using foundation::storage::provider::Exception;
    return testing::Throws<Exception>(testing::AllOf(testing::Property(&Exception::getErrorCode, code),
                                                     testing::Property(&Exception::getIRI, iri)));
}
