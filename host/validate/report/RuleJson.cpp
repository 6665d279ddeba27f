#include "host/validate/report/RuleJson.h"

#include "host/validate/rules/ProfileName.h"

namespace storage::host {

nlohmann::ordered_json ruleJson(const CheckGroup& group, const Check& check) {
    return {{"number", check.number},
            {"name", check.name},
            {"group", group.title},
            {"rule", check.rule},
            {"profile", profileName(check.profile)}};
}

} // namespace storage::host
