#pragma once

#include "host/support/ReportFormat.h"

#include <optional>
#include <string>

namespace storage::host {

/// How a plug-in is to be inspected. A value.
struct InspectOptions {
    std::optional<std::string> plugin; ///< as the user named it; none for the one that comes with the program
    ReportFormat format = ReportFormat::Text;
};

} // namespace storage::host
