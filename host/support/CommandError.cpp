#include "host/support/CommandError.h"

#include <system_error>

namespace storage::host {

CommandError diskError(const std::string& path, int error) {
    return {path, std::generic_category().message(error)};
}

} // namespace storage::host
