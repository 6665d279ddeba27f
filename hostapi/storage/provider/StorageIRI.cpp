#include "hostapi/storage/provider/StorageIRI.h"

#include <utility>

namespace foundation::storage::provider {

StorageIRI::StorageIRI(std::u16string path)
    : resolvedPath_(std::move(path)),
      path_(resolvedPath_),
      hasParent_(resolvedPath_.find_first_not_of(u'/') != std::u16string::npos) {}

StorageIRI::StorageIRI(std::u16string resolvedPath, std::u16string path, bool hasParent)
    : resolvedPath_(std::move(resolvedPath)), path_(std::move(path)), hasParent_(hasParent) {}

} // namespace foundation::storage::provider
