#include "hostapi/storage/provider/FileAttributes.h"

namespace foundation::storage::provider {

FileAttributes::FileAttributes(unsigned long size, const boost::posix_time::ptime& lastModified,
                               bool writable)
    : size_(size), lastModified_(lastModified), writable_(writable) {}

} // namespace foundation::storage::provider
