#include "benchmarks/report/RunDescription.h"

#include "benchmarks/system/Machine.h"

#include <fmt/format.h>

namespace storage::benchmark {

RunDescription RunDescription::now(std::string command) {
    return {std::move(command), describeMachine()};
}

std::string RunDescription::text() const {
    std::string text = fmt::format("\nCommand: `{}`", command);
    for (const auto& [name, value] : machine) {
        text += fmt::format("; {}: {}", name, value);
    }
    return text + ".\n";
}

} // namespace storage::benchmark
