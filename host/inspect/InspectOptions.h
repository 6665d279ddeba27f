#pragma once

#include "host/support/ReportFormat.h"

#include <optional>
#include <string>

namespace storage::host {

/// Options of `inspect`. A value.
struct InspectOptions {
    std::optional<std::string> plugin; ///< path as typed by the user; nothing for the default plug-in
    ReportFormat format = ReportFormat::Text;
};

} // namespace storage::host
