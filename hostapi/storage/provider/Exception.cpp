#include "hostapi/storage/provider/Exception.h"

#include "hostapi/core/except/UtfConversion.h"

#include <cstdint>
#include <string>

namespace foundation::storage::provider {

struct Exception::State {
    ErrorCode code;
    StorageIRI iri;
    std::string text;
};

namespace {

constexpr const char* unknownReason = "unknown error";

std::string textOf(ErrorCode code, const StorageIRI& iri) {
    const char* reason = Exception::describe(code);
    std::string text = core::except::toReadableUtf8(iri.getPath()).append(": ").append(reason);
    if (reason == unknownReason) {
        text.append(" (code ").append(std::to_string(static_cast<std::int32_t>(code))).append(")");
    }
    return text;
}

} // namespace

Exception::Exception(const ErrorCode& code, const StorageIRI& iri)
    : state_(std::make_shared<const State>(State{code, iri, textOf(code, iri)})) {}

Exception::Exception(const Exception&) noexcept = default;
Exception& Exception::operator=(const Exception&) noexcept = default;
Exception::~Exception() = default;

ErrorCode Exception::getErrorCode() const noexcept {
    return state_->code;
}

const StorageIRI& Exception::getIRI() const noexcept {
    return state_->iri;
}

const char* Exception::what() const noexcept {
    return state_->text.c_str();
}

const char* Exception::describe(ErrorCode code) noexcept {
    switch (code) {
    case ErrorCode::FolderNotEmpty:
        return "folder is not empty";
    case ErrorCode::ReadOnly:
        return "read-only: this entry, or another one that the operation changes";
    case ErrorCode::AlreadyExists:
        return "already exists, or is in the folder that is to be moved";
    case ErrorCode::NotFound:
        return "not found: an entry of the required kind, or the folder that would hold it";
    case ErrorCode::NotOffered:
        return "this provider does not offer the operation";
    }
    return unknownReason;
}

} // namespace foundation::storage::provider
