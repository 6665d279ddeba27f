#include "hostapi/storage/provider/Exception.h"

#include "hostapi/core/except/UtfConversion.h"

#include <string>

namespace foundation::storage::provider {

struct Exception::State {
    ErrorCode code;
    StorageIRI iri;
    std::string text;
};

Exception::Exception(const ErrorCode& code, const StorageIRI& iri)
    : state_(std::make_shared<const State>(
          State{code, iri, core::except::toReadableUtf8(iri.getPath()) + ": " + describe(code)})) {}

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
        return "read-only, or in a read-only folder";
    case ErrorCode::AlreadyExists:
        return "already exists";
    case ErrorCode::NotFound:
        return "no such file or folder";
    case ErrorCode::NotOffered:
        return "this provider does not offer the operation";
    }
    return "failed for a reason that this host does not know";
}

} // namespace foundation::storage::provider
