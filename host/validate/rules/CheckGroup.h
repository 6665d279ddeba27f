#pragma once

#include "host/validate/rules/Check.h"

#include <span>

namespace storage::host {

/// The rules about one subject. A value; the checks stand in a table that lives as long as the program.
struct CheckGroup {
    int number;        ///< what the numbers of its checks begin with
    const char* title; ///< for example "Paths"
    std::span<const Check> checks;
};

} // namespace storage::host
