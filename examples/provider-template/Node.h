#pragma once

#include "FileBytes.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <memory>

namespace provider_template {

/// One entry of the tree.
struct Node {
    std::shared_ptr<FileBytes> content;    ///< empty for a folder
    boost::posix_time::ptime lastModified; ///< UTC
    bool writable = true;

    bool isFolder() const { return content == nullptr; }
};

} // namespace provider_template
