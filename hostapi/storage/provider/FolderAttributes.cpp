#include "hostapi/storage/provider/FolderAttributes.h"

namespace foundation::storage::provider {

FolderAttributes::FolderAttributes(const boost::posix_time::ptime& lastModified, bool writable)
    : lastModified_(lastModified), writable_(writable) {}

} // namespace foundation::storage::provider
