#pragma once

#include "hostapi/storage/provider/ErrorCode.h"
#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <optional>
#include <ostream>
#include <string>

namespace storage::tests {

/// The result of a provider call: no code on success, else the error code and the path of the exception.
struct Answer {
    std::optional<provider::ErrorCode> code;
    std::u16string named;

    bool succeeded() const { return !code; }
    bool operator==(const Answer&) const = default;
};

inline void PrintTo(const Answer& answer, std::ostream* out) {
    if (answer.succeeded()) {
        *out << "success";
        return;
    }
    const provider::StorageIRI iri(answer.named);
    *out << provider::Exception(*answer.code, iri).what();
}

template <class Call>
Answer answerOf(const Call& call) {
    try {
        call();
    } catch (const provider::Exception& failure) {
        return {failure.getErrorCode(), failure.getIRI().getPath()};
    }
    return {};
}

} // namespace storage::tests
