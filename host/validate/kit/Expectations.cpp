#include "host/validate/kit/Expectations.h"

#include "host/support/Failure.h"
#include "host/support/Utf.h"
#include "host/validate/kit/CheckContext.h"
#include "host/validate/kit/StreamSteps.h"
#include "host/validate/kit/TreeDescription.h"
#include "host/validate/rules/CheckSkipped.h"
#include "host/validate/rules/RuleBroken.h"

#include <fmt/format.h>

namespace storage::host {

using namespace foundation::storage::provider;

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

void skip(std::string_view reason) {
    throw CheckSkipped(std::string(reason));
}

void makeFile(const IProvider& provider, const StorageIRI& iri, std::string_view bytes) {
    provider.doCreateFile(iri);
    if (!bytes.empty()) {
        writeText(*openStream(provider, iri), bytes);
    }
}

std::string contentOf(const IProvider& provider, const StorageIRI& iri) {
    return readRest(*openForReading(provider, iri));
}

void expectRefusal(CheckContext& context, const std::function<void()>& action, ErrorCode code,
                   const StorageIRI& location, std::string_view operation) {
    const std::string before = describeTree(context.provider(), context.at(u""));
    expectFailure(action, code, location, operation);
    const std::string after = describeTree(context.provider(), context.at(u""));
    expect(after == before,
           fmt::format("{} fails, but changes something; before:\n{}\nafter:\n{}", operation, before, after));
}

} // namespace storage::host
