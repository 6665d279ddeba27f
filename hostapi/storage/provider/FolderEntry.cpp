#include "hostapi/storage/provider/FolderEntry.h"

#include <utility>

namespace foundation::storage::provider {

FolderEntry::FolderEntry(std::u16string name, EntryType type) : name_(std::move(name)), type_(type) {}

} // namespace foundation::storage::provider
