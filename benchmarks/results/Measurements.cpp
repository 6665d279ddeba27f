#include "benchmarks/results/Measurements.h"

#include <algorithm>

namespace storage::benchmark {

Measurement& Measurements::sumUp(const RowId& row, double amount, double seconds) {
    auto found =
        std::find_if(all_.begin(), all_.end(), [&](const Measurement& each) { return each.row == row; });
    if (found == all_.end()) {
        found = all_.insert(all_.end(), Measurement{row});
    }
    found->amount += amount;
    found->seconds += seconds;
    return *found;
}

void Measurements::addCost(const RowId& row, const Timing& timing) {
    Measurement& sum = sumUp(row, static_cast<double>(timing.operations), timing.seconds);
    sum.value = sum.seconds / sum.amount * 1e9;
}

void Measurements::addBandwidth(const RowId& row, double bytes, double seconds) {
    addRate(row, bytes, seconds, 1e9);
}

void Measurements::addThousands(const RowId& row, const Timing& timing) {
    addRate(row, static_cast<double>(timing.operations), timing.seconds, 1e3);
}

void Measurements::addRate(const RowId& row, double amount, double seconds, double unit) {
    Measurement& sum = sumUp(row, amount, seconds);
    sum.value = sum.amount / sum.seconds / unit;
}

void Measurements::add(const RowId& row, double value) {
    sumUp(row, 0, 0).value = value;
}

} // namespace storage::benchmark
