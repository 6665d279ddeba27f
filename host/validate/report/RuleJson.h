#pragma once

#include "host/validate/rules/CheckGroup.h"

#include <nlohmann/json.hpp>

namespace storage::host {

/// What a rule is: number, name, group, text and profile.
nlohmann::ordered_json ruleJson(const CheckGroup& group, const Check& check);

} // namespace storage::host
