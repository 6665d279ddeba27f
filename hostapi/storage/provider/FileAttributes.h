#pragma once

#include "hostapi/Export.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

namespace foundation::storage::provider {

/// The attributes of a file. A value.
class QZFL_EXPORT FileAttributes {
public:
    /// @param size          bytes
    /// @param lastModified  UTC, to the microsecond
    /// @param writable      whether the file may be written to and removed
    FileAttributes(unsigned long size, const boost::posix_time::ptime& lastModified, bool writable);

    /// The file's size.
    /// @return bytes
    unsigned long getSize() const noexcept { return size_; }

    /// When the entry was last changed.
    /// @return UTC, to the microsecond
    const boost::posix_time::ptime& getLastModified() const noexcept { return lastModified_; }

    /// The writable flag.
    /// @return whether the file may be written to and removed
    bool isWritable() const noexcept { return writable_; }

private:
    unsigned long size_;
    boost::posix_time::ptime lastModified_;
    bool writable_;
};

} // namespace foundation::storage::provider
