#include "benchmarks/report/DisturbedText.h"

#include <algorithm>
#include <fmt/format.h>

namespace storage::benchmark {

std::string disturbedText(const std::vector<Repetition>& repetitions) {
    const auto disturbed = std::count_if(repetitions.begin(), repetitions.end(),
                                         [](const Repetition& each) { return each.isDisturbed(); });
    return fmt::format(
        "\n{} of {} repetitions were disturbed by other load on the machine and are left out of the "
        "medians, but for those marked ~, where all were.\n",
        disturbed, repetitions.size());
}

} // namespace storage::benchmark
