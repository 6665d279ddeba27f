#include "host/mount/Refused.h"

#include "hostapi/storage/provider/Exception.h"

#include <cerrno>
#include <cstring>
#include <new>
#include <stdexcept>

namespace storage::host {

using foundation::storage::provider::ErrorCode;
using foundation::storage::provider::Exception;

namespace {

int errnoOf(ErrorCode code) {
    switch (code) {
    case ErrorCode::FolderNotEmpty:
        return ENOTEMPTY;
    case ErrorCode::ReadOnly:
        return EACCES;
    case ErrorCode::AlreadyExists:
        return EEXIST;
    case ErrorCode::NotFound:
        return ENOENT;
    case ErrorCode::NotOffered:
        return EOPNOTSUPP;
    }
    return EIO;
}

} // namespace

const char* Refused::what() const noexcept {
    return ::strerrordesc_np(error_);
}

int errnoOfCurrentException() noexcept {
    try {
        throw;
    } catch (const Refused& refused) {
        return refused.error();
    } catch (const Exception& error) {
        return errnoOf(error.getErrorCode());
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    } catch (const std::length_error&) {
        return EFBIG;
    } catch (...) {
        return EIO;
    }
}

} // namespace storage::host
