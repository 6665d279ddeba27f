#include "tests/model/OutcomeTally.h"

#include <iomanip>

namespace storage::inmemoryprovider::tests {

std::size_t OutcomeTally::of(const std::string& operation, const std::string& outcome) const {
    const auto row = counts_.find(operation);
    if (row == counts_.end()) {
        return 0;
    }
    const auto cell = row->second.find(outcome);
    return cell == row->second.end() ? 0 : cell->second;
}

void OutcomeTally::print(std::ostream& out) const {
    for (const auto& [operation, outcomes] : counts_) {
        for (const auto& [outcome, count] : outcomes) {
            out << std::setw(22) << operation << std::setw(8) << count << "  " << outcome << '\n';
        }
    }
}

} // namespace storage::inmemoryprovider::tests
