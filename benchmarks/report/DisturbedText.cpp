#include "benchmarks/report/DisturbedText.h"

#include <algorithm>
#include <fmt/format.h>

namespace storage::benchmark {

std::size_t countDisturbed(const std::vector<Repetition>& repetitions) {
    return static_cast<std::size_t>(std::count_if(repetitions.begin(), repetitions.end(),
                                                  [](const Repetition& each) { return each.isDisturbed(); }));
}

std::string disturbedText(const std::vector<Repetition>& repetitions) {
    return fmt::format(
        "\n{} of {} repetitions were disturbed by other load on the machine and are left out of the "
        "medians, but for those marked ~, where all were.\n",
        countDisturbed(repetitions), repetitions.size());
}

} // namespace storage::benchmark
