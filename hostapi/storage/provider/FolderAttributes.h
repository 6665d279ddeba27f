#pragma once

#include "hostapi/Export.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

namespace foundation::storage::provider {

/// The attributes of a folder. A value.
class QZFL_EXPORT FolderAttributes {
public:
    /// @param lastModified  UTC, to the microsecond
    /// @param writable      whether entries may be added to and removed from the folder
    FolderAttributes(const boost::posix_time::ptime& lastModified, bool writable);

    /// When the entry was last changed.
    /// @return UTC, to the microsecond
    const boost::posix_time::ptime& getLastModified() const noexcept { return lastModified_; }

    /// The writable flag.
    /// @return whether entries may be added to and removed from the folder
    bool isWritable() const noexcept { return writable_; }

private:
    boost::posix_time::ptime lastModified_;
    bool writable_;
};

} // namespace foundation::storage::provider
