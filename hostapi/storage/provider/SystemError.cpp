#include "hostapi/storage/provider/SystemError.h"

#include "hostapi/core/except/UtfConversion.h"
#include "hostapi/storage/provider/ErrorCode.h"
#include "hostapi/storage/provider/Exception.h"

#include <cerrno>
#include <new>
#include <stdexcept>

namespace foundation::storage::provider {

SystemError::SystemError(int error, const StorageIRI& iri)
    : std::system_error(error, std::generic_category(), core::except::toReadableUtf8(iri.getPath())),
      iri_(std::make_shared<const StorageIRI>(iri)) {}

SystemError::SystemError(const SystemError&) noexcept = default;
SystemError& SystemError::operator=(const SystemError&) noexcept = default;
SystemError::~SystemError() = default;

const StorageIRI& SystemError::getIRI() const noexcept {
    return *iri_;
}

void throwSystemError(int error, const StorageIRI& iri) {
    switch (error) {
    case ENOENT:
    case ENOTDIR:
    case EISDIR:
    case ENAMETOOLONG:
    case EILSEQ:
        throw Exception(ErrorCode::NotFound, iri);
    case EEXIST:
        throw Exception(ErrorCode::AlreadyExists, iri);
    case ENOTEMPTY:
        throw Exception(ErrorCode::FolderNotEmpty, iri);
    case EROFS:
        throw Exception(ErrorCode::ReadOnly, iri);
    case ENOMEM:
        throw std::bad_alloc();
    case EFBIG:
        throw std::length_error(core::except::toReadableUtf8(iri.getPath()) +
                                ": a file cannot have that many bytes");
    default:
        throw SystemError(error, iri);
    }
}

} // namespace foundation::storage::provider
