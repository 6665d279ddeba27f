#include "host/shell/TextLineSource.h"

namespace storage::host {

std::optional<std::string> TextLineSource::next() {
    std::string line;
    return std::getline(text_, line) ? std::optional(std::move(line)) : std::nullopt;
}

} // namespace storage::host
