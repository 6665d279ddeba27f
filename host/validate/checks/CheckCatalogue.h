#pragma once

#include "host/validate/rules/CheckGroup.h"

#include <span>

namespace storage::host {

/// All groups, in the order of their numbers. The catalogue is the contract: docs/contract.md says the same, rule by rule.
std::span<const CheckGroup> checkCatalogue();

} // namespace storage::host
