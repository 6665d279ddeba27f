#include "host/validate/kit/ExpectRefusal.h"

#include "host/validate/kit/CheckContext.h"
#include "host/validate/kit/Expectations.h"
#include "host/validate/kit/TreeDescription.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <fmt/format.h>

namespace storage::host {

using namespace provider;

void expectRefusal(CheckContext& context, const std::function<void()>& action, ErrorCode code,
                   const StorageIRI& location, std::string_view operation) {
    const std::string before = describeTree(context.provider(), context.at(u""));
    expectFailure(action, code, location, operation);
    const std::string after = describeTree(context.provider(), context.at(u""));
    expect(after == before,
           fmt::format("{} fails, but changes the storage:{}", operation, treeDifference(before, after)));
}

} // namespace storage::host
