#include "host/plugin/PluginOperand.h"

#include "host/support/UsageError.h"

namespace storage::host {

std::optional<std::string> namedPlugin(const std::optional<std::string>& option,
                                       const std::optional<std::string>& operand) {
    if (option && operand) {
        throw UsageError("plug-in given twice: by --plugin and as operand PLUGIN");
    }
    return option ? option : operand;
}

} // namespace storage::host
