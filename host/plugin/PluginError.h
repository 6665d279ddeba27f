#pragma once

#include <stdexcept>

namespace storage::host {

/// A plug-in that cannot be loaded or gives no provider. The text is one line: the path and the reason.
class PluginError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace storage::host
