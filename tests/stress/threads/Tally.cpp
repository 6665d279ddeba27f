#include "tests/stress/threads/Tally.h"

#include "tests/stress/Violation.h"
#include "tests/stress/threads/Operation.h"

#include <numeric>

namespace storage::stress {

Tally::Tally() : rows_(allOperations().size()) {}

Tally& Tally::operator+=(const Tally& other) {
    for (std::size_t index = 0; index < rows_.size(); ++index) {
        rows_[index].successes += other.rows_[index].successes;
        rows_[index].failures += other.rows_[index].failures;
    }
    return *this;
}

std::size_t Tally::total() const {
    return std::accumulate(rows_.begin(), rows_.end(), std::size_t{0}, [](std::size_t sum, const Row& row) {
        return sum + row.successes + row.failures;
    });
}

void Tally::requireEveryOperation() const {
    for (std::size_t index = 0; index < rows_.size(); ++index) {
        const Operation& operation = allOperations()[index];
        const std::size_t shown = operation.isOffered() ? rows_[index].successes : rows_[index].failures;
        requireThat(shown > 0, "the run was too short for " + std::string(operation.name));
    }
}

std::string Tally::text() const {
    constexpr std::size_t lineLength = 110;
    std::string text;
    std::string line;
    for (std::size_t index = 0; index < rows_.size(); ++index) {
        const auto& [successes, failures] = rows_[index];
        const auto item = "  " + std::string(allOperations()[index].name) + " " +
                          std::to_string(successes + failures) + " (" + std::to_string(successes) + ")";
        if (line.size() + item.size() > lineLength) {
            text += line + "\n";
            line.clear();
        }
        line += item;
    }
    return text + line + "\n";
}

} // namespace storage::stress
