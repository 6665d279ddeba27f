#include "tests/compare/Outcome.h"

#include "tests/compare/Call.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <functional>
#include <set>

namespace syscalls {

namespace {

constexpr std::string_view resultField = "result";
constexpr char endOfName = '\x1E';
constexpr char endOfValue = '\x1F';

const std::string* find(const Outcome& outcome, const std::string& name) {
    const auto field = std::ranges::find(outcome.fields, name, &Outcome::Field::name);
    return field == outcome.fields.end() ? nullptr : &field->value;
}

} // namespace

bool Outcome::succeeded() const {
    const std::string* const value = find(*this, std::string(resultField));
    return value != nullptr && !value->empty() && value->front() != 'E';
}

bool OutcomeBuilder::result(std::int64_t value) {
    if (value == -1) {
        add(resultField, ::strerrorname_np(errno));
        return false;
    }
    add(resultField, std::to_string(value));
    return true;
}

void OutcomeBuilder::add(std::string_view name, std::string_view value) {
    addAt("", name, value);
}

void OutcomeBuilder::addAt(std::string_view place, std::string_view name, std::string_view value) {
    if (!exclusions_.has(name)) {
        outcome_.fields.push_back({std::string(name) + std::string(place), std::string(value)});
    }
}

void OutcomeBuilder::add(std::string_view name, std::uint64_t value) {
    add(name, std::to_string(value));
}

void OutcomeBuilder::addBytes(std::string_view name, std::string_view bytes) {
    constexpr std::size_t prefix = 24;
    add(name, fmt::format("{} bytes, hash {:x}, {}", bytes.size(), std::hash<std::string_view>()(bytes),
                          inQuotes(bytes.substr(0, prefix))));
}

std::string toText(const Outcome& outcome) {
    std::string text;
    for (const auto& [name, value] : outcome.fields) {
        text += name + endOfName + value + endOfValue;
    }
    return text;
}

Outcome outcomeOf(std::string_view text) {
    Outcome outcome;
    while (!text.empty()) {
        const auto name = text.find(endOfName);
        const auto value = text.find(endOfValue, name);
        outcome.fields.push_back(
            {std::string(text.substr(0, name)), std::string(text.substr(name + 1, value - name - 1))});
        text.remove_prefix(value + 1);
    }
    return outcome;
}

std::string differingFields(const Outcome& left, const Outcome& right) {
    std::set<std::string> names;
    for (const Outcome* const outcome : {&left, &right}) {
        for (const auto& field : outcome->fields) {
            const std::string* const there = find(left, field.name);
            const std::string* const here = find(right, field.name);
            if (there == nullptr || here == nullptr || *there != *here) {
                names.insert(field.name);
            }
        }
    }
    // If the call failed on one side only, the other fields differ as a consequence.
    return names.contains(std::string(resultField)) ? std::string(resultField)
                                                    : fmt::format("{}", fmt::join(names, ","));
}

} // namespace syscalls
