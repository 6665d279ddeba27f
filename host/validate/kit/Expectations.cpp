#include "host/validate/kit/Expectations.h"

#include "host/support/Failure.h"
#include "host/support/Utf.h"
#include "host/validate/kit/CheckContext.h"
#include "host/validate/kit/TreeDescription.h"

#include <fmt/format.h>

namespace storage::host {

using namespace provider;

namespace {

std::string failureText(ErrorCode code, const StorageIRI& location) {
    return fmt::format("code {} ({}) naming {}", static_cast<int>(code), Exception::describe(code),
                       printable(location.getPath()));
}

} // namespace

void expect(bool holds, std::string_view reason) {
    if (!holds) {
        throw RuleBroken(std::string(reason));
    }
}

void expectFailure(const std::function<void()>& action, ErrorCode code, const StorageIRI& location,
                   std::string_view operation) {
    const std::string expected = failureText(code, location);
    try {
        action();
    } catch (const Exception& failure) {
        expect(failure.getErrorCode() == code && failure.getIRI() == location,
               fmt::format("{} fails with {}, not with {}", operation,
                           failureText(failure.getErrorCode(), failure.getIRI()), expected));
        return;
    } catch (...) {
        throw RuleBroken(fmt::format("{} fails with \"{}\", not with {}", operation,
                                     Failure::ofCurrentException("").reason, expected));
    }
    throw RuleBroken(fmt::format("{} succeeds; it must fail with {}", operation, expected));
}

void expectRefusal(CheckContext& context, const std::function<void()>& action, ErrorCode code,
                   const StorageIRI& location, std::string_view operation) {
    const std::string before = describeTree(context.provider(), context.at(u""));
    expectFailure(action, code, location, operation);
    const std::string after = describeTree(context.provider(), context.at(u""));
    expect(after == before,
           fmt::format("{} fails, but changes the storage:{}", operation, treeDifference(before, after)));
}

void skip(std::string_view reason) {
    throw CheckSkipped(std::string(reason));
}

} // namespace storage::host
