#pragma once

#include "tests/compare/Exclusions.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace syscalls {

/// Result of a call that is skipped because it is excluded.
inline constexpr std::string_view notMade = "EXCLUDED";

/// The result of a call as named fields. A value.
struct Outcome {
    struct Field {
        std::string name;
        std::string value;

        bool operator==(const Field&) const = default;
    };

    std::vector<Field> fields;

    bool operator==(const Outcome&) const = default;

    /// Whether the call succeeded.
    bool succeeded() const;
};

/// Collects the compared fields of an outcome.
class OutcomeBuilder {
public:
    explicit OutcomeBuilder(const Exclusions& exclusions) : exclusions_(exclusions) {}

    /// Adds the result of a system call, with errno if it is -1.
    /// @return whether it succeeded
    bool result(std::int64_t value);

    void add(std::string_view name, std::string_view value);
    void add(std::string_view name, std::uint64_t value);

    /// Adds a field of one of several places.
    void addAt(std::string_view place, std::string_view name, std::string_view value);

    /// Adds bytes that were read: their count, a hash and a prefix.
    void addBytes(std::string_view name, std::string_view bytes);

    bool excludes(std::string_view name) const { return exclusions_.has(name); }

    Outcome take() { return std::move(outcome_); }

private:
    const Exclusions& exclusions_;
    Outcome outcome_;
};

std::string toText(const Outcome& outcome);
Outcome outcomeOf(std::string_view text);

/// The names of the fields that differ, separated by commas; empty if the outcomes are equal.
std::string differingFields(const Outcome& left, const Outcome& right);

} // namespace syscalls
