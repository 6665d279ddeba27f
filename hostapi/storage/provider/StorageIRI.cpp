#include "hostapi/storage/provider/StorageIRI.h"

#include <utility>

namespace foundation::storage::provider {

StorageIRI::StorageIRI(std::u16string path)
    : resolvedPath_(std::move(path)),
      hasParent_(resolvedPath_.find_first_not_of(u'/') != std::u16string::npos),
      path_(resolvedPath_) {}

StorageIRI::StorageIRI(std::u16string resolvedPath, std::u16string path, bool hasParent)
    : resolvedPath_(std::move(resolvedPath)), hasParent_(hasParent), path_(std::move(path)) {}

} // namespace foundation::storage::provider
